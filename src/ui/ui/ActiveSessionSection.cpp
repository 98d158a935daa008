// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/ActiveSessionSection.h>

#include <ui/MenuBarContent.h>
#include <ui/ProgramIcon.h>
#include <ui/SectionTitle.h>

#include <QGridLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace velmor {

namespace {

TextLabel* line(Qt::Alignment alignment = Qt::AlignLeft)
{
    return new TextLabel(TextStyle::label, TextWeight::regular, Tint::primary, alignment);
}

} // namespace

ActiveSessionSection::ActiveSessionSection(Gates& gates, QWidget* parent)
    : QWidget(parent)
    , m_gates(gates)
    , m_duration(new TextLabel(TextStyle::heading, TextWeight::strong, Tint::primary, Qt::AlignRight))
    , m_dawIcon(new SymbolView)
    , m_name(new TextLabel(TextStyle::label, TextWeight::regular, Tint::secondary))
    , m_counts(new QWidget)
    , m_count135(new CountLabel("bolt.fill", Tint::orange, "Peaks at or above 135 dBC"))
    , m_count140(new CountLabel("bolt", Tint::red, "Peaks at or above 140 dBC"))
    , m_count115(new CountLabel("exclamationmark.triangle.fill", Tint::orange, "Peaks at or above 115 dBA"))
    , m_average(line())
    , m_peak(line(Qt::AlignRight))
    , m_dose(line())
    , m_peakDBC(line(Qt::AlignRight))
{
    m_duration->keepRoomFor("100h 59m");
    auto* const title = new SectionTitle("Active Session", nullptr, Tint::red);
    title->addToEnd(m_duration);

    auto* const program = new QHBoxLayout;
    program->setSpacing(static_cast<int>(spacing::hair) + 2);
    program->addWidget(m_dawIcon);
    program->addWidget(m_name, 1);

    auto* const figures = new QGridLayout;
    figures->setHorizontalSpacing(static_cast<int>(spacing::tight));
    figures->setVerticalSpacing(2);
    figures->addWidget(m_average, 0, 0);
    figures->addWidget(m_peak, 0, 1);
    figures->addWidget(m_dose, 1, 0);
    figures->addWidget(m_peakDBC, 1, 1);
    figures->setColumnStretch(0, 1);
    figures->setColumnStretch(1, 1);

    auto* const counts = new QHBoxLayout(m_counts);
    counts->setContentsMargins(0, 0, 0, 0);
    counts->setSpacing(static_cast<int>(spacing::hair) + 2);
    for (CountLabel* const count : {m_count135, m_count140, m_count115})
        counts->addWidget(count);
    counts->addStretch(1);

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::hair));
    layout->addWidget(title);
    layout->addLayout(program);
    layout->addLayout(figures);
    layout->addWidget(m_counts);
}

void ActiveSessionSection::refresh(AppState& hub)
{
    const std::optional<Session>& session = hub.sessionManager.currentSession;
    if (!session) {
        m_shownProgram.reset();
        return;
    }
    m_duration->say(session->durationFormatted(hub.now()));
    showProgram(hub, session->dawName);
    m_average->say(averageText(*session));
    m_peak->say(peakLevelText(*session));
    m_dose->say(sessionDoseText(hub.doseCalculator.sessionDose()));
    m_peakDBC->say(sessionPeakText(session->peakDBC));
    m_count135->show(session->peakCount135);
    m_count140->show(session->peakCount140);
    m_count115->show(session->peakDBACount115);
    m_gates.set(*m_counts,
                session->peakCount135 > 0 || session->peakCount140 > 0 || session->peakDBACount115 > 0);
}

void ActiveSessionSection::showProgram(AppState& hub, const std::string& name)
{
    // An icon is looked for on the disk: once for each session's name.
    if (m_shownProgram == name)
        return;
    m_shownProgram = name;
    m_name->say(name);
    const std::optional<ApplicationIcon> icon = hub.dawIcons.icon(name);
    const QIcon found = icon ? programIcon(*icon) : QIcon();
    if (found.isNull())
        m_dawIcon->show("pianokeys", Tint::secondary);
    else
        m_dawIcon->showProgram(found);
}

} // namespace velmor
