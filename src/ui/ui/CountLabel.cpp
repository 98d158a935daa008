// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/CountLabel.h>

#include <QHBoxLayout>

#include <fmt/format.h>

namespace velmor {

CountLabel::CountLabel(const char* symbol, Tint tint, const char* meaning)
    : m_meaning(meaning)
    , m_count(new TextLabel(TextStyle::label, TextWeight::strong, tint))
{
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addWidget(new SymbolView(symbol, tint));
    layout->addWidget(m_count);
    m_count->keepRoomFor("99999");
    // It comes and goes without moving anything.
    QSizePolicy policy = sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    setSizePolicy(policy);
    setToolTip(QString::fromUtf8(meaning));
}

void CountLabel::letGoOfPlace()
{
    QSizePolicy policy = sizePolicy();
    policy.setRetainSizeWhenHidden(false);
    setSizePolicy(policy);
    m_keepsPlace = false;
}

void CountLabel::show(std::int64_t count)
{
    setVisible(count > 0);
    const std::string text = fmt::format("{}", count);
    if (text == m_count->said().text)
        return;
    if (m_keepsPlace)
        m_count->say(text);
    else
        m_count->sayInFull(text);
    setAccessibleName(QString::fromStdString(fmt::format("{}: {}", m_meaning, count)));
}

} // namespace velmor
