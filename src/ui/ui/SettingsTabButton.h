// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/RingButton.h>

#include <string>

namespace velmor {

/// A tab of the settings: its symbol above its name. One of its row is chosen; arrow keys go from one to the
/// next.
class SettingsTabButton final : public RingButton
{
public:
    SettingsTabButton(const char* label, const char* symbol);

    QSize sizeHint() const override;

private:
    void paintEvent(QPaintEvent* event) override;

    std::string m_symbol;
};

} // namespace velmor
