// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/HistoryStatCell.h>

#include <ui/StatInfoPopover.h>

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <fmt/format.h>

namespace velmor {

HistoryStatCell::HistoryStatCell()
    : m_label(new TextLabel(TextStyle::caption, TextWeight::regular, Tint::secondary))
    , m_infoButton(new CommandButton(CommandButton::Form::small, "", "info.circle"))
    , m_value(new TextLabel(TextStyle::value, TextWeight::strong, Tint::secondary))
{
    m_infoButton->setTint(Tint::secondary);
    auto* const title = new QHBoxLayout;
    title->setSpacing(2);
    title->addWidget(m_label);
    title->addWidget(m_infoButton);
    title->addStretch(1);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(title);
    layout->addWidget(m_value);
    connect(m_infoButton, &CommandButton::clicked, this, [this] { toggleInfo(); });
}

void HistoryStatCell::show(const HistoryStat& stat)
{
    const bool isNew = stat.label != m_stat.label;
    m_stat = stat;
    if (isNew) {
        m_label->sayInFull(stat.label);
        m_infoButton->show(fmt::format("About {}", stat.label).c_str(), "info.circle");
    }
    // What is said in place of a figure is longer than one.
    const bool isFigure = stat.color != Tint::dim;
    m_value->setFont(isFigure ? fontOf(TextStyle::value, TextWeight::strong) : fontOf(TextStyle::label));
    m_value->say({stat.value, stat.color});
    m_value->setAccessibleName(QString::fromStdString(stat.label + ": " + stat.value));
}

void HistoryStatCell::toggleInfo()
{
    if (m_info) {
        m_info->close();
        return;
    }
    m_info = new StatInfoPopover(m_stat.info, this);
    m_info->move(m_infoButton->mapToGlobal(QPoint(0, m_infoButton->height())));
    m_info->show();
}

} // namespace velmor
