// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/StatisticCell.h>

#include <QVBoxLayout>

namespace velmor {

StatisticCell::StatisticCell(const char* name, const char* tip)
    : m_name(name)
    , m_value(new TextLabel(TextStyle::heading, TextWeight::regular, Tint::primary))
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(new TextLabel(name, TextStyle::caption, TextWeight::regular, Tint::secondary));
    layout->addWidget(m_value);
    setToolTip(QString::fromUtf8(tip));
    setAccessibleDescription(toolTip());
    show({});
}

void StatisticCell::show(std::optional<double> level)
{
    const TintedText text = {levelText(level, "dBA"), level ? Tint::primary : Tint::tertiary};
    if (text == m_value->said())
        return;
    m_value->say(text);
    setAccessibleName(QStringLiteral("%1: %2").arg(QString::fromUtf8(m_name), m_value->accessibleName()));
}

} // namespace velmor
