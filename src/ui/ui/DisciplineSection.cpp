// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/DisciplineSection.h>

#include <ui/MenuBarContent.h>
#include <ui/SectionTitle.h>

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace velmor {

DisciplineSection::DisciplineSection(QWidget* parent)
    : QWidget(parent)
    , m_share(new TextLabel(TextStyle::label, TextWeight::strong, Tint::secondary, Qt::AlignRight))
    , m_band(new TextLabel(TextStyle::heading, TextWeight::regular, Tint::primary))
    , m_drift(new TextLabel(TextStyle::heading, TextWeight::strong, Tint::tertiary, Qt::AlignRight))
    , m_strip(new ZoneStrip)
{
    m_share->keepRoomFor("100% on target");
    auto* const title = new SectionTitle("Monitoring Discipline", "target");
    title->addToEnd(m_share);

    auto* const line = new QHBoxLayout;
    line->setSpacing(static_cast<int>(spacing::tight));
    line->addWidget(m_band, 1);
    line->addWidget(m_drift, 1);

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::hair));
    layout->addWidget(title);
    layout->addLayout(line);
    layout->addSpacing(2);
    layout->addWidget(m_strip);
}

void DisciplineSection::refresh(const AppState& hub)
{
    const ReferenceLevelTracker& tracker = hub.referenceTracker;
    const ReferenceLevelSettings& settings = tracker.settings;
    m_share->say(onTargetText(tracker.onTargetPercentage()));
    m_band->say(referenceBandText(settings.target, settings.tolerance));
    m_drift->say(driftText(tracker.currentDeviation, settings.tolerance));
    m_strip->show(zoneShares(tracker.secondsUnder, tracker.secondsOnTarget, tracker.secondsOver));
}

} // namespace velmor
