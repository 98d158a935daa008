// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/Style.h>

#include <QHBoxLayout>
#include <QWidget>

namespace velmor {

/// A section's heading, with a symbol before it and something at the end of its line.
class SectionTitle final : public QWidget
{
public:
    /// \param symbol null for none.
    explicit SectionTitle(const char* title, const char* symbol = nullptr, Tint tint = Tint::primary);

    /// From left to right.
    void addToEnd(QWidget* widget) { m_layout->addWidget(widget); }

private:
    QHBoxLayout* m_layout;
};

} // namespace velmor
