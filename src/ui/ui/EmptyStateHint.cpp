// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/EmptyStateHint.h>

#include <ui/SymbolView.h>
#include <ui/TextLabel.h>

#include <QLabel>
#include <QVBoxLayout>

namespace velmor {

EmptyStateHint::EmptyStateHint()
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::tight));
    layout->addWidget(new SymbolView("rectangle.dashed", Tint::secondary), 0, Qt::AlignHCenter);
    layout->addWidget(
        new TextLabel("All sections hidden", TextStyle::label, TextWeight::strong, Tint::primary), 0,
        Qt::AlignHCenter);
    layout->addWidget(new TextLabel("Open Settings → Panel to choose what shows here.", TextStyle::caption,
                                    TextWeight::regular, Tint::secondary),
                      0, Qt::AlignHCenter);
}

} // namespace velmor
