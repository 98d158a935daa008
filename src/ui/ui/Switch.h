// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/RingButton.h>

namespace velmor {

/// On or off. Its text is what a screen reader says. Main thread.
class Switch final : public RingButton
{
public:
    explicit Switch(const char* label);

    QSize sizeHint() const override;

private:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace velmor
