// SPDX-License-Identifier: GPL-3.0-or-later
#include <meter/Summary.h>

#include <base/JsonWriter.h>
#include <sessions/SessionFormat.h>

#include <fmt/format.h>

#include <cmath>
#include <iterator>

namespace velmor {

namespace {

std::string clockText(double seconds)
{
    const auto whole = static_cast<std::int64_t>(std::floor(seconds));
    return fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
}

std::string levelText(std::optional<double> level)
{
    return level ? fmt::format("{:.1f}", *level) : "—";
}

} // namespace

void Summary::take(const AppState& hub)
{
    const AudioMeasurementService& service = hub.audioService;
    const DoseCalculator& dose = hub.doseCalculator;
    calibrationOffset = hub.settings.calibrationOffset;
    calibration = hub.calibrationTrust.trust;
    sampleRate = service.currentSampleRate();
    droppedBlocks = service.droppedBlocks();
    unusableSamples = service.unusableSamples();
    currentSPL = service.currentSPL;
    currentDBC = service.currentDBC;
    peakDBA = service.peakDBA;
    peakDBC = service.peakDBC;
    todayPeakDBC = dose.todayPeakDBC;
    dosePercentage = dose.dosePercentage;
    doseLevel = dose.doseLevel;
    projectedDoseAtEndOfDay = dose.projectedDoseAtEndOfDay;
    peakCount135 = dose.peakCount135;
    peakCount137 = dose.peakCount137;
    peakCount140 = dose.peakCount140;
    peakDBACount115 = dose.peakDBACount115;
    leq1min = hub.leqStatistics.leq1min;
    leq10min = hub.leqStatistics.leq10min;
    leq30min = hub.leqStatistics.leq30min;
    l10 = hub.leqStatistics.l10;
    l50 = hub.leqStatistics.l50;
    l90 = hub.leqStatistics.l90;
}

std::string jsonText(const Summary& summary)
{
    JsonWriter json(JsonWriter::Layout::pretty);
    json.beginObject();
    if (!summary.file.empty())
        json.member("file", std::string_view(summary.file));
    if (!summary.device.empty())
        json.member("device", std::string_view(summary.device));
    json.member("sampleRate", summary.sampleRate);
    json.member("channel", std::int64_t(summary.channel));
    json.member("frames", summary.frames);
    json.member("blocks", summary.blocks);
    json.member("droppedBlocks", static_cast<std::int64_t>(summary.droppedBlocks));
    json.member("unusableSamples", static_cast<std::int64_t>(summary.unusableSamples));
    json.member("durationSeconds", summary.durationSeconds());
    json.member("calibrationOffset", summary.calibrationOffset);
    json.member("conservative", summary.conservative);
    json.member("currentSPL", summary.currentSPL);
    json.member("currentDBC", summary.currentDBC);
    json.member("peakDBA", summary.peakDBA);
    json.member("peakDBC", summary.peakDBC);
    json.member("todayPeakDBC", summary.todayPeakDBC);
    json.member("dosePercentage", summary.dosePercentage);
    json.member("doseLevel", rawValue(summary.doseLevel));
    json.member("projectedDoseAtEndOfDay", summary.projectedDoseAtEndOfDay);
    json.member("peakCount135", summary.peakCount135);
    json.member("peakCount137", summary.peakCount137);
    json.member("peakCount140", summary.peakCount140);
    json.member("peakDBACount115", summary.peakDBACount115);
    const auto memberIfKnown = [&json](std::string_view name, std::optional<double> value) {
        if (value)
            json.member(name, *value);
    };
    memberIfKnown("leq1min", summary.leq1min);
    memberIfKnown("leq10min", summary.leq10min);
    memberIfKnown("leq30min", summary.leq30min);
    memberIfKnown("l10", summary.l10);
    memberIfKnown("l50", summary.l50);
    memberIfKnown("l90", summary.l90);
    json.key("session");
    json.beginObject();
    writeSessionFields(json, summary.session);
    json.member("readingCount", std::ssize(summary.session.readings));
    memberIfKnown("onTargetPercentage", summary.session.onTargetPercentage());
    json.endObject();
    json.key("calibration");
    json.beginObject();
    json.member("method", rawValue(summary.calibration.method));
    memberIfKnown("filterDepartureDB", summary.calibration.filterDeparture);
    json.key("concerns");
    json.beginArray();
    for (const std::string& concern : summary.calibration.concerns)
        json.value(std::string_view(concern));
    json.endArray();
    json.endObject();
    json.endObject();
    return json.text().value() + "\n";
}

std::string humanText(const Summary& summary)
{
    std::string text;
    const auto line = [&text](auto format, const auto&... arguments) {
        fmt::format_to(std::back_inserter(text), fmt::runtime(format), arguments...);
        text += '\n';
    };
    const std::string name = !summary.file.empty()     ? summary.file
                             : !summary.device.empty() ? summary.device
                                                       : "System default input";
    line("{}", name);
    line("{} at {} Hz, channel {} of {}, offset {} dB{}", clockText(summary.durationSeconds()),
         summary.sampleRate, summary.channel, summary.channelCount, summary.calibrationOffset,
         summary.conservative ? ", conservative" : "");
    line("");
    line("  {:<18}{:>8.1f} dBA{:>10.1f} dBC", "Level at the end", summary.currentSPL, summary.currentDBC);
    line("  {:<18}{:>8.1f} dBA{:>10.1f} dBC", "Peak at the end", summary.peakDBA, summary.peakDBC);
    line("  {:<18}{:>8}    {:>10.1f} dBC", "Highest peak", "", summary.todayPeakDBC);
    line("");
    const Session& session = summary.session;
    line("  {:<18}{:>8.1f} dBA", "Session average", session.averageSPL);
    line("  {:<18}{:>8} dBA{:>10} dBA{:>10} dBA", "Leq 1, 10, 30 min", levelText(summary.leq1min),
         levelText(summary.leq10min), levelText(summary.leq30min));
    line("  {:<18}{:>8} dBA{:>10} dBA{:>10} dBA", "L10, L50, L90", levelText(summary.l10),
         levelText(summary.l50), levelText(summary.l90));
    line("");
    line("  {:<18}{:>8.2f} %    {}", "Dose", summary.dosePercentage, label(summary.doseLevel));
    line("  {:<18}{:>8.2f} %    at the end of 8 hours", "Projected dose", summary.projectedDoseAtEndOfDay);
    line("");
    if (const auto onTarget = session.onTargetPercentage()) {
        line("  {:<18}{:>8.1f} %    of the active time within {} dB of {} dBA", "On target", *onTarget,
             session.monitoringTolerance, session.monitoringTarget);
        line("");
    }
    line("  {:<18}{:>8}      at or above 135 dBC", "Peaks", summary.peakCount135);
    line("  {:<18}{:>8}      at or above 137 dBC", "", summary.peakCount137);
    line("  {:<18}{:>8}      at or above 140 dBC", "", summary.peakCount140);
    line("  {:<18}{:>8}      at or above 115 dBA", "", summary.peakDBACount115);
    for (const std::string& concern : summary.calibration.concerns)
        line("\n  Check the input: {}.", concern);
    if (summary.unusableSamples > 0)
        line("\n  {} samples were no numbers and counted as silence.", summary.unusableSamples);
    return text;
}

} // namespace velmor
