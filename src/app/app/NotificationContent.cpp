// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/NotificationContent.h>

#include <exposure/DoseLevel.h>
#include <exposure/PeakLimits.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace velmor {

namespace {

struct DoseTexts
{
    std::string_view title;
    std::string_view subtitle;
    std::string_view body;
};

/// In the order of the bands.
constexpr std::array<DoseTexts, 4> doseTexts = {{
    {"Hearing Dose: Safe", "", "Your hearing dose is within safe limits."},
    {"⚠️ Hearing Dose: Caution (40%)", "You've been in the caution zone",
     "Try lowering your monitor volume by 3–6 dB. Even a small reduction significantly extends your safe "
     "listening time."},
    {"🔶 Hearing Dose: Warning (70%)", "Approaching your daily exposure limit",
     "Take a 10–15 minute break away from speakers, or turn monitors down now. At this level you have less "
     "than 2 hours of safe exposure remaining today."},
    {"🔴 Hearing Dose: Over-exposed (90%+)", "Daily NIOSH limit exceeded",
     "Step away from your monitors. Your daily hearing dose is exceeded — continued exposure risks permanent "
     "hearing damage. Rest, then resume at a lower level."},
}};

InterruptionLevel levelIf(bool timeSensitive)
{
    return timeSensitive ? InterruptionLevel::timeSensitive : InterruptionLevel::standard;
}

/// Seconds since 1970 in the shortest form that reads back the same, always with a fraction: makes an
/// identifier unique, so that a later alert does not replace an earlier one.
std::string stamp(Date now)
{
    std::array<char, 64> digits = {};
    const auto wholeSeconds = std::chrono::floor<std::chrono::seconds>(now);
    const double seconds =
        static_cast<double>(wholeSeconds.time_since_epoch().count()) + secondsBetween(wholeSeconds, now);
    const auto end = std::to_chars(digits.begin(), digits.end(), seconds, std::chars_format::fixed).ptr;
    std::string text(digits.begin(), end);
    if (text.find('.') == std::string::npos)
        text += ".0";
    return text;
}

} // namespace

std::vector<NotificationCategory> NotificationContent::categories()
{
    using Kind = NotificationAction::Kind;
    const NotificationAction snooze{snoozeAction, "Snooze 30 min", Kind::plain};
    const NotificationAction destructiveSnooze{snoozeAction, "Snooze 30 min", Kind::destructive};
    const NotificationAction share{shareReportAction, "Share Report…", Kind::foreground};
    return {
        {"SESSION_ALERT", {snooze}},   {"dose-danger", {destructiveSnooze}},
        {"PEAK_ALERT", {snooze}},      {"INSTANTANEOUS_PEAK_ALERT", {snooze}},
        {"SESSION_RECAP", {share}},    {"SUSTAINED_SPL", {snooze}},
        {"DEVICE_DISCONNECTED", {}},   {driftCategory, {snooze}},
        {offTargetCategory, {snooze}},
    };
}

NotificationRequest NotificationContent::doseThreshold(DoseLevel level, bool timeSensitive)
{
    const DoseTexts& texts = doseTexts[static_cast<std::size_t>(level)];
    const bool isDanger = level == DoseLevel::danger;
    const bool isUrgent = isDanger || level == DoseLevel::warning;
    NotificationRequest request;
    request.identifier = fmt::format("dose-{}", rawValue(level));
    request.categoryIdentifier = isDanger ? "dose-danger" : "SESSION_ALERT";
    request.title = texts.title;
    request.subtitle = texts.subtitle;
    request.body = texts.body;
    request.sound = isDanger ? NotificationSound::critical : NotificationSound::standard;
    request.interruptionLevel = levelIf(timeSensitive && isUrgent);
    return request;
}

NotificationRequest NotificationContent::impulsePeak(double peakDBC, bool timeSensitive, Date now)
{
    NotificationRequest request;
    request.identifier = "peak-alert-" + stamp(now);
    request.categoryIdentifier = "PEAK_ALERT";
    request.interruptionLevel = levelIf(timeSensitive);
    if (peakDBC >= limitPeakDBC) {
        request.title = fmt::format("🔴 Impulse Peak: {:.0f} dBC", peakDBC);
        request.body =
            "Turn down your monitoring level now. At 140 dBC, a single impulse can cause permanent "
            "mechanical damage to hair cells. Pull back the offending element or lower your "
            "monitor trim.";
        request.sound = NotificationSound::critical;
    } else if (peakDBC >= upperActionPeakDBC) {
        request.title = fmt::format("🔶 Impulse Peak: {:.0f} dBC", peakDBC);
        request.body = "Lower your monitoring level 3–6 dB, or tame the source — kick, snare, or a "
                       "transient-heavy bus. Repeated peaks here accumulate mechanical risk that A-weighted "
                       "dose won't capture.";
    } else {
        request.title = fmt::format("⚠️ Impulse Peak: {:.0f} dBC", peakDBC);
        request.body =
            "A loud transient just hit 135+ dBC. If this keeps recurring, the source element may be "
            "uncontrolled — consider a limiter on that bus, or nudge your monitor trim down a "
            "couple of dB.";
    }
    return request;
}

NotificationRequest NotificationContent::instantaneousPeak(double peakDBA, bool timeSensitive, Date now)
{
    NotificationRequest request;
    request.identifier = "instantaneous-peak-" + stamp(now);
    request.categoryIdentifier = "INSTANTANEOUS_PEAK_ALERT";
    request.title = fmt::format("⚠️ Peak Level: {:.0f} dBA", peakDBA);
    request.body = "An instantaneous A-weighted peak just exceeded 115 dBA — the EU legal ceiling (Directive "
                   "2003/10/EC). This is a transient event, but repeated occurrences cause mechanical hair "
                   "cell fatigue. Check for uncontrolled transients on your loudest bus, or lower your "
                   "monitor trim.";
    request.sound = NotificationSound::critical;
    request.interruptionLevel = levelIf(timeSensitive);
    return request;
}

NotificationRequest NotificationContent::sustainedExposure(double spl, double allowedHours,
                                                           double accumulatedDose, bool timeSensitive)
{
    const auto minutesLeft =
        static_cast<std::int64_t>(allowedHours * std::max(0.0, 1.0 - accumulatedDose) * 60);
    NotificationRequest request;
    request.identifier = "sustained-spl";
    request.categoryIdentifier = "SUSTAINED_SPL";
    request.title = fmt::format("🔊 Sustained {:.0f} dBA — 10 min", spl);
    request.interruptionLevel = levelIf(timeSensitive);
    if (minutesLeft > 60) {
        request.body =
            fmt::format("You've been at {:.0f} dBA for 10 minutes. ~{:.1f} hrs of safe listening left "
                        "today. Lowering by 6 dB gives you 4× more time.",
                        spl, static_cast<double>(minutesLeft) / 60.0);
    } else if (minutesLeft >= 1) {
        request.body = fmt::format("You've been at {:.0f} dBA for 10 minutes. Only ~{} min of safe listening "
                                   "left today — consider a break or lower your monitors.",
                                   spl, minutesLeft);
    } else {
        request.body =
            fmt::format("You've been at {:.0f} dBA for 10 minutes and your daily dose is nearly used "
                        "up. Rest your ears now.",
                        spl);
    }
    return request;
}

NotificationRequest NotificationContent::drift(const DriftAlertContext& context, Date now)
{
    NotificationRequest request;
    request.identifier = "monitoring-drift-" + stamp(now);
    request.categoryIdentifier = driftCategory;
    request.title = "Monitoring drift detected";
    request.body = fmt::format("Your monitoring level has crept up {:.0f} dB over the last 30 minutes (now "
                               "~{:.0f} dBA). Ear fatigue often shows up this way — consider a short break.",
                               context.driftDB(), context.currentRollingDBA);
    return request;
}

NotificationRequest NotificationContent::offTarget(const OffTargetAlertContext& context, Date now)
{
    const std::string_view direction =
        context.direction == OffTargetAlertContext::Direction::over ? "above" : "below";
    NotificationRequest request;
    request.identifier = "monitoring-offtarget-" + stamp(now);
    request.categoryIdentifier = offTargetCategory;
    request.title = fmt::format("Monitoring {} target", direction);
    request.body =
        fmt::format("You've been monitoring {} your {:.0f} dBA target for the last {} minutes. "
                    "Drift, fatigue, or intentional?",
                    direction, context.targetDBA, static_cast<std::int64_t>(context.windowSec / 60.0));
    return request;
}

NotificationRequest NotificationContent::sessionRecap(double sessionDose, double totalDose,
                                                      const std::optional<Uuid>& sessionID, Date now)
{
    NotificationRequest request;
    request.identifier = "session-recap-" + stamp(now);
    request.categoryIdentifier = "SESSION_RECAP";
    request.title = "Session complete";
    request.body =
        fmt::format("This session used {:.1f}% of your daily dose. Running total: {:.1f}% - {:.1f}% "
                    "remaining today.",
                    sessionDose, totalDose, std::max(0.0, 100.0 - totalDose));
    if (sessionID)
        request.userInfo[sessionIDKey] = uuidText(*sessionID);
    return request;
}

NotificationRequest NotificationContent::deviceDisconnected()
{
    NotificationRequest request;
    request.identifier = "device-disconnected";
    request.categoryIdentifier = "DEVICE_DISCONNECTED";
    request.title = "Microphone Disconnected";
    request.body =
        "Measurement stopped. If you reconnect a different device or adjust input gain, recalibrate "
        "before resuming — your calibration offset is device-specific.";
    request.interruptionLevel = InterruptionLevel::timeSensitive;
    return request;
}

} // namespace velmor
