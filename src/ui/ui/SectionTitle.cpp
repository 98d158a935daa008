// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SectionTitle.h>

#include <ui/SymbolView.h>
#include <ui/TextLabel.h>

namespace velmor {

SectionTitle::SectionTitle(const char* title, const char* symbol, Tint tint)
    : m_layout(new QHBoxLayout(this))
{
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(static_cast<int>(spacing::hair) + 2);
    if (symbol)
        m_layout->addWidget(new SymbolView(symbol, Tint::secondary));
    m_layout->addWidget(new TextLabel(title, TextStyle::label, TextWeight::strong,
                                      tint == Tint::primary ? Tint::secondary : tint));
    m_layout->addStretch(1);
}

} // namespace velmor
