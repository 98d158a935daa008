// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/TodaySection.h>

#include <ui/MenuBarContent.h>
#include <ui/SectionTitle.h>
#include <ui/SymbolView.h>

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <initializer_list>

namespace velmor {

namespace {

TextLabel* line(Tint tint = Tint::primary)
{
    return new TextLabel(TextStyle::label, TextWeight::regular, tint);
}

/// One line of parts, from the left.
QWidget* row(std::initializer_list<QWidget*> parts)
{
    auto* const widget = new QWidget;
    auto* const layout = new QHBoxLayout(widget);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::hair) + 2);
    for (QWidget* const part : parts)
        layout->addWidget(part);
    layout->addStretch(1);
    return widget;
}

} // namespace

TodaySection::TodaySection(Gates& gates, QWidget* parent)
    : QWidget(parent)
    , m_gates(gates)
    , m_sessions(line())
    , m_duration(new TextLabel(TextStyle::label, TextWeight::strong, Tint::primary, Qt::AlignRight))
    , m_share(new TextLabel(TextStyle::label, TextWeight::strong, Tint::green))
    , m_target(line(Tint::secondary))
    , m_peak(line())
    , m_count140(new CountLabel("bolt", Tint::red, "Peaks at or above 140 dBC today"))
    , m_count135(new CountLabel("bolt.fill", Tint::orange, "Peaks at or above 135 dBC today"))
    , m_count115(line())
{
    m_share->keepRoomFor("100%");
    m_sessions->keepRoomFor("100 sessions");
    m_target->keepRoomFor("(10 targets)");
    m_peak->keepRoomFor("Today peak: 140 dBC");
    m_count115->keepRoomFor("≥115 dBA today: 999999");
    m_disciplineRow =
        row({new SymbolView("target", Tint::secondary),
             new TextLabel("On target today", TextStyle::label, TextWeight::regular, Tint::primary), m_share,
             m_target});
    m_peakRow = row({new SymbolView("bolt.fill", Tint::secondary), m_peak, m_count140, m_count135});
    m_count115Row = row({new SymbolView("exclamationmark.triangle.fill", Tint::orange), m_count115});
    m_conservativeRow = row({new SymbolView("shield.checkered", Tint::secondary),
                             new TextLabel("Conservative dose mode active", TextStyle::label,
                                           TextWeight::regular, Tint::secondary)});
    auto* const sessions = new QHBoxLayout;
    sessions->addWidget(row({new SymbolView("calendar", Tint::secondary), m_sessions}), 1);
    sessions->addWidget(m_duration);

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::hair));
    layout->addWidget(new SectionTitle("Today"));
    layout->addLayout(sessions);
    for (QWidget* const part : {m_disciplineRow, m_peakRow, m_count115Row, m_conservativeRow})
        layout->addWidget(part);
    m_duration->keepRoomFor("100h 59m");
}

void TodaySection::refresh(const AppState& hub)
{
    const DoseCalculator& dose = hub.doseCalculator;
    m_sessions->say(sessionCountText(hub.sessionManager.todaysSessions().size()));
    m_duration->say(hub.sessionManager.todaysTotalDurationFormatted());
    const std::optional<DaysDiscipline> discipline = todaysDiscipline(hub.todaysMonitoringDiscipline());
    if (discipline) {
        m_share->say(discipline->share);
        m_target->say(discipline->target);
    }
    m_gates.set(*m_disciplineRow, discipline.has_value());
    m_peak->say(todayPeakText(dose.todayPeakDBC));
    m_count140->show(dose.peakCount140);
    m_count135->show(dose.peakCount135);
    m_gates.set(*m_peakRow, dose.todayPeakDBC > 0);
    m_count115->say(todayCount115Text(dose.peakDBACount115));
    m_gates.set(*m_count115Row, dose.peakDBACount115 > 0);
    m_gates.set(*m_conservativeRow, hub.settings.conservativeDoseMode);
}

} // namespace velmor
