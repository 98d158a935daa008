// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/Style.h>

#include <QLabel>

namespace velmor {

/// Text of any length, wrapped, in a colour of its window's appearance, also after that has changed.
class Paragraph final : public QLabel
{
public:
    explicit Paragraph(const char* text, TextStyle style = TextStyle::label,
                       TextWeight weight = TextWeight::regular, Tint tint = Tint::secondary);

private:
    void changeEvent(QEvent* event) override;
    void takeColour();

    Tint m_tint;
};

} // namespace velmor
