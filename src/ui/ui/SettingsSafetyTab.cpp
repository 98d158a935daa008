// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SettingsSafetyTab.h>

#include <exposure/DoseLevel.h>
#include <exposure/DoseLimits.h>
#include <ui/TextLabel.h>
#include <ui/WeightingCurves.h>

#include <fmt/format.h>

#include <QHBoxLayout>

#include <string>

namespace velmor {

namespace {

/// A fixed value at the end of its line.
QWidget* valueOf(const std::string& text)
{
    return new TextLabel(text.c_str(), TextStyle::label, TextWeight::strong, Tint::primary);
}

/// A mark in the colour of what it stands for, and what that means.
QWidget* meaningRow(const std::string& mark, Tint tint, const char* text)
{
    auto* const row = new QWidget;
    auto* const layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::item));
    auto* const label = new TextLabel(mark.c_str(), TextStyle::label, TextWeight::strong, tint);
    constexpr int markWidth = 84;
    label->setFixedWidth(markWidth);
    layout->addWidget(label, 0, Qt::AlignTop);
    layout->addWidget(new Paragraph(text), 1);
    return row;
}

QWidget* thresholdRow(DoseLevel level, Tint tint, const char* range)
{
    return meaningRow(std::string(label(level)), tint, range);
}

QWidget* peakThresholdRow(const char* level, Tint tint, const char* text)
{
    return meaningRow(level, tint, text);
}

} // namespace

SettingsSafetyTab::SettingsSafetyTab(AppSettings& settings)
{
    addDose();
    addWeeklyLevel();
    addStatistics();
    addWeighting();
    addModes(settings);
    addPeaks();
}

void SettingsSafetyTab::addDose()
{
    SettingsSection& standard = addSection("NIOSH Dose Standard");
    standard.addText(
        "Based on NIOSH REL (Recommended Exposure Limit). At 85 dBA, safe exposure is 8 hours. Each "
        "+3 dB halves the allowed time.");
    standard.addRow("Reference level", valueOf(fmt::format("{:.0f} dBA", criterionLevelDBA)));
    standard.addRow("Criterion duration", valueOf(fmt::format("{:.0f} hours", criterionDurationHours)));
    standard.addRow("Exchange rate", valueOf(fmt::format("{:.0f} dB", exchangeRateDB)));

    SettingsSection& thresholds = addSection("Dose Thresholds");
    thresholds.add(thresholdRow(DoseLevel::safe, Tint::green, "Below 40% of the day's dose."));
    thresholds.add(thresholdRow(DoseLevel::caution, Tint::yellow, "40% up to below 70%."));
    thresholds.add(thresholdRow(DoseLevel::warning, Tint::orange, "70% up to below 90%."));
    thresholds.add(thresholdRow(DoseLevel::danger, Tint::red, "90% and above."));
}

void SettingsSafetyTab::addWeeklyLevel()
{
    SettingsSection& weekly = addSection("EU Weekly Level (L𝒈,w)");
    weekly.addText(
        "What it is",
        "The one steady A-weighted level that would carry the same energy over a working week "
        "as all of your days together. Under EU 2003/10/EC member states may let it stand in for the daily "
        "level where exposure differs much from day to day.");
    weekly.addText(
        "How it's calculated",
        "Each day's dose stands for its level over 8 hours: 100% for 85 dBA, and 3 dB less for each half. "
        "The energies of all selected days are added up and divided by 5 working days: "
        "L = 10 × log₁₀(Σ 10^(Lday / 10) / 5).");
    weekly.addText("How to read it",
                   "Against the action values below. The divisor stays 5 however many days you "
                   "select: a sixth day makes the figure larger, as it should.");
    weekly.addText("Shown in the History window when 5 or more days are selected.");
    weekly.add(meaningRow(
        "< 80 dBA", Tint::green,
        "Below the lower exposure action value. No mandatory action required under EU 2003/10/EC."));
    weekly.add(meaningRow(
        "80–85 dBA", Tint::orange,
        "Lower exposure action value. Hearing protection must be made available and information on "
        "risks provided."));
    weekly.add(
        meaningRow("≥ 85 dBA", Tint::red,
                   "Upper exposure action value. Wearing hearing protection is mandatory. Investigate and "
                   "reduce exposure."));
}

void SettingsSafetyTab::addStatistics()
{
    SettingsSection& statistics = addSection("Leq & Ln Statistics");
    statistics.addText(
        "Leq — equivalent continuous level",
        "The steady level with the same energy as the changing one: Leq = 10 × log₁₀(mean of "
        "10^(L / 10)). Loud moments weigh more: one minute at 90 dBA carries as much energy as ten at "
        "80 dBA.");
    statistics.addText(
        "How to read Leq",
        "The value of one minute follows what you do, that of 30 minutes what a stretch of work was like. "
        "Each shows once its window is full.");
    statistics.addText(
        "Ln percentiles — L10, L50, L90",
        "The level that was exceeded for n percent of the time, over up to 30 minutes of the session. They "
        "show what a mean hides: how far the loud passages rise above the rest.");
    statistics.add(meaningRow("L10", Tint::primary, "Exceeded for 10% of the time: the loud passages."));
    statistics.add(meaningRow("L50", Tint::primary, "Exceeded for half of the time: the median."));
    statistics.add(meaningRow("L90", Tint::primary, "Exceeded for 90% of the time: the background."));
}

void SettingsSafetyTab::addWeighting()
{
    SettingsSection& weighting = addSection("Frequency Weighting");
    weighting.addText(
        "A-weighting (dBA) — for dose",
        "Counts frequencies by how sensitive the ear is to them: lows little, −39 dB at 31.5 Hz and "
        "−16 dB at 125 Hz, and 1 to 6 kHz almost in full. Dose, Leq and your reference level are in dBA.");
    weighting.addText(
        "C-weighting (dBC) — for peaks",
        "Nearly flat, 3 dB down at 31.5 Hz and at 8 kHz. It sees the whole energy of a kick or a "
        "transient, which is why the directive's peak limits are in dBC.");
    weighting.addText(
        "The dBC−dBA gap",
        "How much low end there is that dBA does not count. The popover marks it above 6 dB, and "
        "strongly from 10 dB.");
    weighting.add(new WeightingCurves);
}

void SettingsSafetyTab::addModes(AppSettings& settings)
{
    SettingsSection& conservative = addSection("Conservative Dose Mode");
    addSwitch(conservative, "Use max(dBA, dBC) for dose calculation", settings.conservativeDoseMode);
    conservative.addText(
        "When enabled, the dose calculator uses whichever is higher — the A-weighted or C-weighted "
        "level — at each measurement. This catches bass-heavy exposure that A-weighting alone "
        "underreports.");
    conservative.addFooter(
        "No formal NIOSH/OSHA standard — a maximum-protection option for bass-heavy work. Leave it "
        "off for speech or mid-range content.");

    SettingsSection& impulses = addSection("Peak Impulse Monitoring");
    addSwitch(impulses, "Monitor C-weighted peak levels", settings.peakMonitoringEnabled);
    impulses.addFooter(
        "Tracks instantaneous C-weighted peak SPL per EU Directive 2003/10/EC. When a peak exceeds "
        "135 dBC, a notification fires (rate-limited to one per 30 seconds). Counts are tracked per "
        "session and per day.");
}

void SettingsSafetyTab::addPeaks()
{
    SettingsSection& peaks = addSection("EU 2003/10/EC Peak Thresholds");
    peaks.add(peakThresholdRow(
        "135 dBC", Tint::yellow,
        "Recurring peaks here suggest an uncontrolled element — a hot kick, snare, or transient bus. A "
        "limiter on that group, or nudging your monitor trim down 2 dB, is usually enough to stay "
        "clear."));
    peaks.add(peakThresholdRow(
        "137 dBC", Tint::orange,
        "Pull your monitor level down 3–6 dB now. If the source keeps peaking here, reach for a fast "
        "limiter or clip gain on the offending track. Repeated exposure at this level causes "
        "mechanical damage that A-weighted dose won't account for."));
    peaks.add(peakThresholdRow(
        "140 dBC", Tint::red,
        "Turn down immediately — a single impulse at this level can permanently damage hair cells. "
        "Identify the source (rogue transient, gain-staging issue, feedback spike) and fix it before "
        "continuing the session."));
}

} // namespace velmor
