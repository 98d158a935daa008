// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/NotificationContent.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace velmor {
namespace {

namespace Content = NotificationContent;

const Date now = dateFromIsoText("2026-03-02T09:00:00Z").value(); // 1772442000 seconds since 1970

NotificationRequest request(const char* identifier, const char* category, const char* title,
                            const char* subtitle, const char* body, NotificationSound sound,
                            InterruptionLevel level)
{
    return {identifier, category, title, subtitle, body, sound, level, {}};
}

constexpr auto standardSound = NotificationSound::standard;
constexpr auto critical = NotificationSound::critical;
constexpr auto standardLevel = InterruptionLevel::standard;
constexpr auto timeSensitive = InterruptionLevel::timeSensitive;

TEST(NotificationContent, TheBandsHaveTheirTexts)
{
    EXPECT_EQ(Content::doseThreshold(DoseLevel::safe, true),
              request("dose-safe", "SESSION_ALERT", "Hearing Dose: Safe", "",
                      "Your hearing dose is within safe limits.", standardSound, standardLevel));
    EXPECT_EQ(
        Content::doseThreshold(DoseLevel::caution, true),
        request("dose-caution", "SESSION_ALERT", "⚠️ Hearing Dose: Caution (40%)",
                "You've been in the caution zone",
                "Try lowering your monitor volume by 3–6 dB. Even a small reduction significantly extends "
                "your safe listening time.",
                standardSound, standardLevel));
    EXPECT_EQ(
        Content::doseThreshold(DoseLevel::warning, true),
        request("dose-warning", "SESSION_ALERT", "🔶 Hearing Dose: Warning (70%)",
                "Approaching your daily exposure limit",
                "Take a 10–15 minute break away from speakers, or turn monitors down now. At this level "
                "you have less than 2 hours of safe exposure remaining today.",
                standardSound, timeSensitive));
    EXPECT_EQ(
        Content::doseThreshold(DoseLevel::danger, true),
        request("dose-danger", "dose-danger", "🔴 Hearing Dose: Over-exposed (90%+)",
                "Daily NIOSH limit exceeded",
                "Step away from your monitors. Your daily hearing dose is exceeded — continued exposure "
                "risks permanent hearing damage. Rest, then resume at a lower level.",
                critical, timeSensitive));
    EXPECT_EQ(Content::doseThreshold(DoseLevel::danger, false).interruptionLevel, standardLevel);
    EXPECT_EQ(Content::doseThreshold(DoseLevel::warning, false).interruptionLevel, standardLevel);
}

TEST(NotificationContent, AnImpulseHasThreeGrades)
{
    EXPECT_EQ(
        Content::impulsePeak(140.0, true, now),
        request("peak-alert-1772442000.0", "PEAK_ALERT", "🔴 Impulse Peak: 140 dBC", "",
                "Turn down your monitoring level now. At 140 dBC, a single impulse can cause permanent "
                "mechanical damage to hair cells. Pull back the offending element or lower your monitor "
                "trim.",
                critical, timeSensitive));
    EXPECT_EQ(
        Content::impulsePeak(139.9, true, now),
        request("peak-alert-1772442000.0", "PEAK_ALERT", "🔶 Impulse Peak: 140 dBC", "",
                "Lower your monitoring level 3–6 dB, or tame the source — kick, snare, or a "
                "transient-heavy bus. Repeated peaks here accumulate mechanical risk that A-weighted dose "
                "won't capture.",
                standardSound, timeSensitive));
    EXPECT_EQ(
        Content::impulsePeak(136.9, false, now),
        request("peak-alert-1772442000.0", "PEAK_ALERT", "⚠️ Impulse Peak: 137 dBC", "",
                "A loud transient just hit 135+ dBC. If this keeps recurring, the source element may be "
                "uncontrolled — consider a limiter on that bus, or nudge your monitor trim down a couple "
                "of dB.",
                standardSound, standardLevel));
    EXPECT_EQ(Content::impulsePeak(137.0, true, now).title, "🔶 Impulse Peak: 137 dBC");
}

TEST(NotificationContent, AnInstantaneousPeakIsCritical)
{
    EXPECT_EQ(
        Content::instantaneousPeak(116.4, true, now),
        request("instantaneous-peak-1772442000.0", "INSTANTANEOUS_PEAK_ALERT", "⚠️ Peak Level: 116 dBA",
                "",
                "An instantaneous A-weighted peak just exceeded 115 dBA — the EU legal ceiling (Directive "
                "2003/10/EC). This is a transient event, but repeated occurrences cause mechanical hair "
                "cell fatigue. Check for uncontrolled transients on your loudest bus, or lower your "
                "monitor trim.",
                critical, timeSensitive));
}

TEST(NotificationContent, AStampIsTheTimeWithItsFraction)
{
    EXPECT_EQ(Content::instantaneousPeak(116, true, now + std::chrono::milliseconds(250)).identifier,
              "instantaneous-peak-1772442000.25");
}

TEST(NotificationContent, SustainedExposureTellsWhatIsLeft)
{
    // 2.52 hours are allowed at 90 dBA; with 60 % of the day left, 90.7 minutes.
    EXPECT_EQ(
        Content::sustainedExposure(90.4, 2.52, 0.4, true),
        request("sustained-spl", "SUSTAINED_SPL", "🔊 Sustained 90 dBA — 10 min", "",
                "You've been at 90 dBA for 10 minutes. ~1.5 hrs of safe listening left today. Lowering by "
                "6 dB gives you 4× more time.",
                standardSound, timeSensitive));
    EXPECT_EQ(Content::sustainedExposure(90, 2, 0.5, false),
              request("sustained-spl", "SUSTAINED_SPL", "🔊 Sustained 90 dBA — 10 min", "",
                      "You've been at 90 dBA for 10 minutes. Only ~60 min of safe listening left today — "
                      "consider a break or lower your monitors.",
                      standardSound, standardLevel));
    EXPECT_EQ(
        Content::sustainedExposure(95.5, 1, 0.99, false).body,
        "You've been at 96 dBA for 10 minutes and your daily dose is nearly used up. Rest your ears now.");
    const auto bodyFor = [](double hours, double dose) {
        return Content::sustainedExposure(95, hours, dose, false).body;
    };
    EXPECT_NE(bodyFor(61.0 / 60, 0).find("~1.0 hrs"), std::string::npos);
    EXPECT_NE(bodyFor(60.99 / 60, 0).find("Only ~60 min"), std::string::npos);
    EXPECT_NE(bodyFor(1.0 / 60, 0).find("Only ~1 min"), std::string::npos);
    EXPECT_NE(bodyFor(0.999 / 60, 0).find("nearly used up"), std::string::npos);
    EXPECT_NE(bodyFor(1, 1.5).find("nearly used up"), std::string::npos);
}

TEST(NotificationContent, DriftTellsTheRiseAndTheLevel)
{
    EXPECT_EQ(Content::drift({79.6, 84.2}, now),
              request("monitoring-drift-1772442000.0", "MONITORING_DRIFT", "Monitoring drift detected", "",
                      "Your monitoring level has crept up 5 dB over the last 30 minutes (now ~84 dBA). Ear "
                      "fatigue often shows up this way — consider a short break.",
                      standardSound, standardLevel));
}

TEST(NotificationContent, OffTargetTellsTheSide)
{
    using Direction = OffTargetAlertContext::Direction;
    EXPECT_EQ(
        Content::offTarget({Direction::over, 79, 84, 900}, now),
        request("monitoring-offtarget-1772442000.0", "MONITORING_OFFTARGET", "Monitoring above target", "",
                "You've been monitoring above your 79 dBA target for the last 15 minutes. Drift, fatigue, "
                "or intentional?",
                standardSound, standardLevel));
    const auto under = Content::offTarget({Direction::under, 83, 78, 359}, now);
    EXPECT_EQ(under.title, "Monitoring below target");
    EXPECT_EQ(under.body, "You've been monitoring below your 83 dBA target for the last 5 minutes. Drift, "
                          "fatigue, or intentional?");
}

TEST(NotificationContent, ARecapTellsTheDoses)
{
    const Uuid id = uuidFromText("0123ABCD-EF45-4789-8ABC-DEF012345678").value();
    auto expected =
        request("session-recap-1772442000.0", "SESSION_RECAP", "Session complete", "",
                "This session used 12.3% of your daily dose. Running total: 40.1% - 59.9% remaining "
                "today.",
                standardSound, standardLevel);
    EXPECT_EQ(Content::sessionRecap(12.34, 40.1, std::nullopt, now), expected);
    expected.userInfo = {{"velmor.sessionID", "0123ABCD-EF45-4789-8ABC-DEF012345678"}};
    EXPECT_EQ(Content::sessionRecap(12.34, 40.1, id, now), expected);
}

TEST(NotificationContent, ATotalOf130PercentLeavesNothing)
{
    EXPECT_EQ(Content::sessionRecap(50, 130, std::nullopt, now).body,
              "This session used 50.0% of your daily dose. Running total: 130.0% - 0.0% remaining today.");
}

TEST(NotificationContent, ALostMicrophoneIsTimeSensitive)
{
    EXPECT_EQ(Content::deviceDisconnected(),
              request("device-disconnected", "DEVICE_DISCONNECTED", "Microphone Disconnected", "",
                      "Measurement stopped. If you reconnect a different device or adjust input gain, "
                      "recalibrate before resuming — your calibration offset is device-specific.",
                      standardSound, timeSensitive));
}

TEST(NotificationContent, TheCategoriesHaveTheirActions)
{
    using Kind = NotificationAction::Kind;
    const NotificationAction snooze{"SNOOZE_30", "Snooze 30 min", Kind::plain};
    const NotificationAction destructive{"SNOOZE_30", "Snooze 30 min", Kind::destructive};
    const NotificationAction share{"SHARE_REPORT", "Share Report…", Kind::foreground};
    const std::vector<NotificationCategory> expected = {
        {"SESSION_ALERT", {snooze}},       {"dose-danger", {destructive}},
        {"PEAK_ALERT", {snooze}},          {"INSTANTANEOUS_PEAK_ALERT", {snooze}},
        {"SESSION_RECAP", {share}},        {"SUSTAINED_SPL", {snooze}},
        {"DEVICE_DISCONNECTED", {}},       {"MONITORING_DRIFT", {snooze}},
        {"MONITORING_OFFTARGET", {snooze}}};
    EXPECT_EQ(Content::categories(), expected);
}

} // namespace
} // namespace velmor
