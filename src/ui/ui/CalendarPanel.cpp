// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/CalendarPanel.h>

#include <ui/HistoryContent.h>
#include <ui/LegendRow.h>

#include <QGridLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace velmor {

namespace {

/// Leaves the grid the width that its gestures are measured in.
constexpr int sidePadding = 6;

constexpr int weekDays = 7;

} // namespace

CalendarPanel::CalendarPanel(HistorySelection& selection, const LocaleDates& dates,
                             const std::function<QDate()>& today, const std::function<void()>& onChange)
    : m_selection(selection)
    , m_dates(dates)
    , m_today(today)
    , m_onChange(onChange)
    , m_previous(new CommandButton(CommandButton::Form::alone, "Previous Month", "chevron.left"))
    , m_month(new TextLabel(TextStyle::heading, TextWeight::strong, Tint::primary, Qt::AlignHCenter))
    , m_next(new CommandButton(CommandButton::Form::alone, "Next Month", "chevron.right"))
    , m_grid(new CalendarGrid(selection, dates, today, onChange))
    , m_hint(new TextLabel(TextStyle::caption, TextWeight::regular, Tint::secondary, Qt::AlignHCenter))
{
    setFixedWidth(width);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(sidePadding, static_cast<int>(spacing::item), sidePadding,
                               static_cast<int>(spacing::item));
    layout->setSpacing(static_cast<int>(spacing::tight));
    layout->addWidget(makeMonthHeader());
    layout->addWidget(makeWeekdays());
    layout->addWidget(m_grid);
    layout->addWidget(m_hint);
    layout->addLayout(makePresets());
    layout->addSpacing(static_cast<int>(spacing::tight));
    layout->addWidget(makeSparklineLegend());
    layout->addStretch(1);
}

QWidget* CalendarPanel::makeMonthHeader()
{
    auto* const header = new QWidget;
    auto* const layout = new QHBoxLayout(header);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_previous);
    layout->addWidget(m_month, 1);
    layout->addWidget(m_next);
    connect(m_previous, &CommandButton::clicked, this, [this] {
        m_selection.showPreviousMonth();
        m_onChange();
    });
    connect(m_next, &CommandButton::clicked, this, [this] {
        m_selection.showNextMonth(m_today());
        m_onChange();
    });
    return header;
}

QWidget* CalendarPanel::makeWeekdays() const
{
    auto* const row = new QWidget;
    auto* const layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(CalendarGrid::columnGap));
    for (int i = 0; i < weekDays; ++i) {
        const int day = (m_dates.firstDayOfWeek() - 1 + i) % weekDays + 1;
        auto* const name =
            new TextLabel(TextStyle::caption, TextWeight::regular, Tint::secondary, Qt::AlignHCenter);
        name->say(m_dates.weekdayName(day));
        layout->addWidget(name, 1);
    }
    return row;
}

QLayout* CalendarPanel::makePresets()
{
    auto* const layout = new QGridLayout;
    layout->setSpacing(static_cast<int>(spacing::hair) + 2);
    const auto add = [&](const char* label, int row, int column, const std::function<void()>& apply) {
        auto* const button = new CommandButton(CommandButton::Form::plain, label, "");
        layout->addWidget(button, row, column);
        connect(button, &CommandButton::clicked, this, [this, apply] {
            apply();
            m_onChange();
        });
    };
    add("7 days", 0, 0, [this] { m_selection.applyPreset(-6, m_today()); });
    add("14 days", 0, 1, [this] { m_selection.applyPreset(-13, m_today()); });
    add("30 days", 1, 0, [this] { m_selection.applyPreset(-29, m_today()); });
    add("This month", 1, 1, [this] { m_selection.applyThisMonth(m_today()); });
    return layout;
}

QWidget* CalendarPanel::makeSparklineLegend()
{
    auto* const legend = new QWidget;
    auto* const layout = new QVBoxLayout(legend);
    layout->setContentsMargins(static_cast<int>(spacing::hair), 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::hair));
    layout->addWidget(
        new TextLabel("Session chart", TextStyle::caption, TextWeight::strong, Tint::secondary));
    layout->addWidget(new LegendRow(LegendRow::Mark::dot, Zone::onTarget, "On target"));
    layout->addWidget(new LegendRow(LegendRow::Mark::band, Zone::under, "Under target"));
    layout->addWidget(new LegendRow(LegendRow::Mark::band, Zone::over, "Over target"));
    return legend;
}

void CalendarPanel::refresh(const DailyDoses& doses)
{
    m_month->say(monthTitle(m_selection.displayedMonth(), m_dates));
    m_next->setEnabled(!m_selection.isAtCurrentOrFutureMonth(doses.today));
    m_grid->refresh(doses);
    m_hint->say(selectionHint(m_selection, m_dates));
}

} // namespace velmor
