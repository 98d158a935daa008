// SPDX-License-Identifier: GPL-3.0-or-later
#include <support/CapturedOutput.h>
#include <support/HubHost.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace velmor {
namespace {

using testing::ElementsAre;

/// What a page of the manual says of one setting, and how to get at it in the program.
struct ExpectedSetting
{
    std::string key;
    DefaultsValue defaultValue;
    DefaultsValue other; ///< A stored value that must come back.
    std::function<DefaultsValue(const AppSettings&)> get;
    std::function<void(AppSettings&, const DefaultsValue&)> set;
};

template <typename Value>
ExpectedSetting row(const char* key, Value defaultValue, Value other, Setting<Value> AppSettings::*setting)
{
    return {key, defaultValue, other,
            [setting](const AppSettings& s) { return DefaultsValue((s.*setting).get()); },
            [setting](AppSettings& s, const DefaultsValue& value) { s.*setting = std::get<Value>(value); }};
}

std::vector<ExpectedSetting> expectedSettings()
{
    using S = AppSettings;
    using std::int64_t;
    return {
        row<std::string>("selectedDeviceUID", "", "interface", &S::selectedDeviceUID),
        row<double>("calibrationOffset", 94.0, 118.5, &S::calibrationOffset),
        row<bool>("conservativeDoseMode", false, true, &S::conservativeDoseMode),
        row<bool>("peakMonitoringEnabled", true, false, &S::peakMonitoringEnabled),
        row<bool>("autoStartSessions", true, false, &S::autoStartSessions),
        row<std::string>("selectedOutputDeviceUID", "", "monitors", &S::selectedOutputDeviceUID),
        row<bool>("timeSensitiveNotifications", true, false, &S::timeSensitiveNotifications),
        row<bool>("menuBarShowDecimal", false, true, &S::menuBarShowDecimal),
        row<bool>("menuBarColorEnabled", false, true, &S::menuBarColorEnabled),
        row<double>("menuBarColorYellowAt", 70.0, 65.0, &S::menuBarColorYellowAt),
        row<double>("menuBarColorOrangeAt", 80.0, 0.0, &S::menuBarColorOrangeAt),
        row<double>("menuBarColorRedAt", 95.0, 60.0, &S::menuBarColorRedAt),
        row<bool>("menuBarUseClassicEarIcon", false, true, &S::menuBarUseClassicEarIcon),
        row<int64_t>("sessionDetailedRetentionDays", 14, 1, &S::sessionDetailedRetentionDays),
        row<int64_t>("sessionTotalRetentionDays", 90, 5000, &S::sessionTotalRetentionDays),
        row<bool>("panelShowsDose", true, false, &S::panelShowsDose),
        row<bool>("panelShowsCurrentSPL", true, false, &S::panelShowsCurrentSPL),
        row<bool>("panelShowsDiscipline", true, false, &S::panelShowsDiscipline),
        row<bool>("panelShowsLeq", true, false, &S::panelShowsLeq),
        row<bool>("panelShowsActiveSession", true, false, &S::panelShowsActiveSession),
        row<bool>("panelShowsToday", true, false, &S::panelShowsToday),
    };
}

const std::vector<DefaultsValue> oneOfEachType = {
    true, std::int64_t(7), 7.5, std::string("text"), DefaultsData{std::byte{1}}, Date()};

TEST(AppSettings, AFirstLaunchHasTheDefaultsAndStoresNone)
{
    MemoryDefaultsStore defaults;
    const AppSettings settings(defaults);
    for (const auto& expected : expectedSettings())
        EXPECT_EQ(expected.get(settings), expected.defaultValue) << expected.key;
    EXPECT_EQ(settings.menuBarDisplayMode.get(), MenuBarDisplayMode::icon);
    EXPECT_FALSE(settings.launchAtLogin);
    EXPECT_TRUE(defaults.values().empty());
    EXPECT_TRUE(settings.autoStartSessions);
    EXPECT_TRUE(settings.peakMonitoringEnabled);
    EXPECT_TRUE(settings.timeSensitiveNotifications);
    EXPECT_FALSE(settings.conservativeDoseMode);
    EXPECT_EQ(settings.sessionDetailedRetentionDays, 14);
    EXPECT_EQ(settings.sessionTotalRetentionDays, 90);
    EXPECT_EQ(settings.calibrationOffset, 94.0);
}

TEST(AppSettings, AStoredValueIsRead)
{
    for (const auto& expected : expectedSettings()) {
        MemoryDefaultsStore defaults({{expected.key, expected.other}});
        EXPECT_EQ(expected.get(AppSettings(defaults)), expected.other) << expected.key;
    }
}

TEST(AppSettings, AStoredValueOfAnyOtherTypeReadsAsTheDefaultAndIsKept)
{
    for (const auto& expected : expectedSettings()) {
        for (const DefaultsValue& value : oneOfEachType) {
            if (value.index() == expected.defaultValue.index())
                continue;
            MemoryDefaultsStore defaults({{expected.key, value}});
            EXPECT_EQ(expected.get(AppSettings(defaults)), expected.defaultValue) << expected.key;
            EXPECT_EQ(defaults.value(expected.key), value) << expected.key;
        }
    }
    for (const DefaultsValue& value : oneOfEachType) {
        MemoryDefaultsStore defaults({{"menuBarDisplayMode", value}, {"launchAtLogin", value}});
        EXPECT_EQ(AppSettings(defaults).menuBarDisplayMode.get(), MenuBarDisplayMode::icon);
        EXPECT_FALSE(AppSettings(defaults).launchAtLogin);
    }
}

TEST(AppSettings, AnAssignmentWritesTheKeyAnEqualOneToo)
{
    for (const auto& expected : expectedSettings()) {
        MemoryDefaultsStore defaults;
        AppSettings settings(defaults);
        expected.set(settings, expected.other);
        EXPECT_EQ(defaults.values(), (MemoryDefaultsStore::Values{{expected.key, expected.other}}));
        EXPECT_EQ(expected.get(settings), expected.other);
        defaults.remove(expected.key);
        expected.set(settings, expected.other);
        EXPECT_EQ(defaults.value(expected.key), expected.other) << expected.key;
    }
}

TEST(AppSettings, AnAssignmentIsAnnounced)
{
    MemoryDefaultsStore defaults;
    AppSettings settings(defaults);
    int changes = 0;
    const Subscription subscription = settings.onChange([&] { ++changes; });
    for (const auto& expected : expectedSettings())
        expected.set(settings, expected.other);
    EXPECT_EQ(changes, static_cast<int>(expectedSettings().size()));
}

TEST(AppSettings, TheKeyIsWrittenBeforeTheEffect)
{
    MemoryDefaultsStore defaults;
    AppSettings settings(defaults);
    std::optional<DefaultsValue> storedAtEffect;
    double value = 0;
    settings.calibrationOffset.afterWriting = [&](double offset) {
        storedAtEffect = defaults.value("calibrationOffset");
        value = offset;
    };
    settings.calibrationOffset = 101.5;
    EXPECT_EQ(storedAtEffect, DefaultsValue(101.5));
    EXPECT_EQ(value, 101.5);
    defaults.remove("calibrationOffset");
    storedAtEffect.reset();
    settings.calibrationOffset = 101.5; // an equal value has its effect too
    EXPECT_EQ(storedAtEffect, DefaultsValue(101.5));
}

TEST(AppSettings, AnOffsetOfExactlyZeroIsUsedUntilTheNextStart)
{
    MemoryDefaultsStore defaults;
    AppSettings settings(defaults);
    settings.calibrationOffset = 0;
    EXPECT_EQ(settings.calibrationOffset, 0);
    EXPECT_EQ(AppSettings(defaults).calibrationOffset, 94.0);
    EXPECT_EQ(defaults.get<double>("calibrationOffset"), 0);
    for (const double offset :
         {-0.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        MemoryDefaultsStore unusable({{"calibrationOffset", offset}});
        EXPECT_EQ(AppSettings(unusable).calibrationOffset, 94.0);
    }
}

TEST(AppSettings, AnUnknownDisplayModeFallsBackToTheIconAndTheKeyStays)
{
    MemoryDefaultsStore defaults({{"menuBarDisplayMode", std::string("hologram")}});
    EXPECT_EQ(AppSettings(defaults).menuBarDisplayMode.get(), MenuBarDisplayMode::icon);
    EXPECT_EQ(defaults.get<std::string>("menuBarDisplayMode"), "hologram");
    AppSettings settings(defaults);
    settings.menuBarDisplayMode = MenuBarDisplayMode::iconAndDBC;
    EXPECT_EQ(defaults.get<std::string>("menuBarDisplayMode"), "iconAndDBC");
    EXPECT_EQ(AppSettings(defaults).menuBarDisplayMode.get(), MenuBarDisplayMode::iconAndDBC);
}

TEST(AppSettings, ARetentionOfZeroOrLessReadsAsTheDefaultAndTheKeyKeepsTheBadValue)
{
    for (const std::int64_t days : {std::int64_t(0), std::int64_t(-3), INT64_MIN}) {
        MemoryDefaultsStore defaults(
            {{"sessionDetailedRetentionDays", days}, {"sessionTotalRetentionDays", days}});
        AppSettings settings(defaults);
        EXPECT_EQ(settings.sessionDetailedRetentionDays, 14);
        EXPECT_EQ(settings.sessionTotalRetentionDays, 90);
        EXPECT_EQ(defaults.get<std::int64_t>("sessionDetailedRetentionDays"), days);
        settings.sessionDetailedRetentionDays = 30;
        EXPECT_EQ(defaults.get<std::int64_t>("sessionDetailedRetentionDays"), 30);
    }
}

TEST(MenuBarDisplayMode, TheTableHasItsRowsInOrder)
{
    using Number = MenuBarDisplayModeRow::Number;
    const std::vector<std::tuple<std::string_view, std::string_view, bool, Number>> expected = {
        {"icon", "Icon only", true, Number::none},
        {"dBA", "Live dBA", false, Number::spl},
        {"dBC", "Live dBC", false, Number::dBC},
        {"iconAndDBA", "Icon + dBA", true, Number::spl},
        {"iconAndDBC", "Icon + dBC", true, Number::dBC}};
    ASSERT_EQ(menuBarDisplayModes.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const auto& row = menuBarDisplayModes[i];
        EXPECT_EQ(std::tuple(row.rawValue, row.label, row.showsIcon, row.number), expected[i]);
        EXPECT_EQ(static_cast<std::size_t>(row.value), i);
    }
    EXPECT_FALSE(menuBarDisplayModes[0].measurement(1, 2));
    EXPECT_EQ(menuBarDisplayModes[1].measurement(1, 2), 1);
    EXPECT_EQ(menuBarDisplayModes[2].measurement(1, 2), 2);
    EXPECT_EQ(menuBarDisplayModes[3].measurement(1, 2), 1);
    EXPECT_EQ(menuBarDisplayModes[4].measurement(1, 2), 2);
}

/// The settings' effects in the hub.
class HubSettingsTest : public testing::Test
{
protected:
    test::QuietLines quietLines;

    test::HubHost host;
};

TEST_F(HubSettingsTest, TheStoredDeviceIsSelectedAtTheStart)
{
    host.defaults.set("selectedDeviceUID", std::string("interface"));
    AppState hub(host.host());
    EXPECT_EQ(hub.deviceManager.selectedDeviceUID.get(), "interface");
    hub.startSession("Manual");
    EXPECT_EQ(host.audio.engine().deviceID, 12U);
}

TEST_F(HubSettingsTest, AnotherDeviceIsSelectedAndARunningCaptureRestarts)
{
    AppState hub(host.host());
    hub.settings.selectedDeviceUID = "interface";
    EXPECT_EQ(hub.deviceManager.selectedDeviceUID.get(), "interface");
    EXPECT_TRUE(host.audio.engines.empty());
    hub.startSession("Manual");
    hub.settings.selectedDeviceUID = "mic";
    EXPECT_FALSE(hub.audioService.isRunning);
    host.loop.runFor(0.19);
    EXPECT_FALSE(hub.audioService.isRunning);
    host.loop.runFor(0.02);
    EXPECT_TRUE(hub.audioService.isRunning);
    EXPECT_EQ(host.audio.engines.size(), 2U);
    EXPECT_EQ(host.audio.engine().deviceID, 11U);
}

TEST_F(HubSettingsTest, ASessionThatEndsWhileTheDeviceChangesLeavesTheMicrophoneClosed)
{
    AppState hub(host.host());
    hub.startSession("Manual");
    hub.settings.selectedDeviceUID = "interface";
    hub.endSession();
    host.loop.runFor(10);
    EXPECT_FALSE(hub.audioService.isRunning);
    EXPECT_EQ(host.audio.engines.size(), 1U);
}

TEST_F(HubSettingsTest, TheOffsetShiftsTheLevelsFromTheNextBlockOn)
{
    host.defaults.set("calibrationOffset", 100.0);
    AppState hub(host.host());
    hub.startSession("Manual");
    const std::vector<float> block(1024, 0.0F);
    std::vector<float> impulse(1024, 0.0F);
    impulse[512] = 1.0F;
    host.audio.engine().deliver(impulse);
    host.loop.runPosted();
    const double before = hub.audioService.peakDBC;
    hub.settings.calibrationOffset = 110.0;
    for (int i = 0; i < 200; ++i)
        host.audio.engine().deliver(block);
    host.audio.engine().deliver(impulse);
    host.loop.runPosted();
    EXPECT_NEAR(hub.audioService.peakDBC, before + 10, 0.01);
}

TEST_F(HubSettingsTest, TheConservativeModeIsWrittenThroughTheCalculatorFirst)
{
    AppState hub(host.host());
    hub.settings.conservativeDoseMode = true;
    EXPECT_TRUE(hub.doseCalculator.conservativeMode);
    EXPECT_EQ(host.defaults.get<bool>("DoseCalculator.conservativeMode"), true);
    EXPECT_EQ(host.defaults.get<bool>("conservativeDoseMode"), true);
}

TEST_F(HubSettingsTest, TheCalculatorsOwnKeyDrivesTheArithmetic)
{
    host.defaults.set("conservativeDoseMode", true);
    AppState hub(host.host());
    EXPECT_TRUE(hub.settings.conservativeDoseMode);
    EXPECT_FALSE(hub.doseCalculator.conservativeMode);
}

TEST_F(HubSettingsTest, LaunchAtLoginComesFromTheLoginItemAndIsAppliedAtEachStart)
{
    host.loginItem.enabled = true;
    AppState hub(host.host());
    EXPECT_TRUE(hub.settings.launchAtLogin);
    EXPECT_EQ(host.defaults.get<bool>("launchAtLogin"), true);
    EXPECT_THAT(host.loginItem.calls, ElementsAre("register"));
}

TEST_F(HubSettingsTest, ALoginItemThatTheUserRemovedReadsFalseAndIsUnregisteredAgain)
{
    host.defaults.set("launchAtLogin", true);
    AppState hub(host.host());
    EXPECT_FALSE(hub.settings.launchAtLogin);
    EXPECT_EQ(host.defaults.get<bool>("launchAtLogin"), false);
    EXPECT_THAT(host.loginItem.calls, ElementsAre("unregister"));
}

TEST_F(HubSettingsTest, ARegistrationThatIsRefusedFlipsTheSwitchBack)
{
    AppState hub(host.host());
    host.loginItem.calls.clear();
    host.loginItem.refuses = true;
    hub.settings.launchAtLogin = true;
    EXPECT_TRUE(hub.settings.launchAtLogin);
    host.loginItem.refuses = false;
    host.loop.runPosted();
    EXPECT_FALSE(hub.settings.launchAtLogin);
    EXPECT_EQ(host.defaults.get<bool>("launchAtLogin"), false);
    EXPECT_THAT(host.loginItem.calls, ElementsAre("register", "unregister"));
}

TEST_F(HubSettingsTest, AnImportOfASingleSwitchTakesEffectWithoutARestart)
{
    AppState hub(host.host());
    host.defaults.set("peakMonitoringEnabled", false);
    hub.refreshAfterTovikImport();
    EXPECT_FALSE(hub.settings.peakMonitoringEnabled);
    hub.notifications.sendPeakNotification(141);
    EXPECT_TRUE(host.notifications.requests.empty());
}

TEST_F(HubSettingsTest, AnImportedOffsetThatIsNoneLeavesTheCalibration)
{
    for (const double offset : {0.0, std::numeric_limits<double>::infinity()}) {
        host.defaults.set("calibrationOffset", 118.5);
        AppState hub(host.host());
        host.defaults.set("calibrationOffset", offset);
        hub.refreshAfterTovikImport();
        EXPECT_EQ(hub.settings.calibrationOffset, 118.5);
    }
}

TEST_F(HubSettingsTest, AnImportIsTakenUpEverywhere)
{
    AppState hub(host.host());
    host.loginItem.calls.clear();
    int offsetChanges = 0;
    hub.settings.selectedOutputDeviceUID.afterWriting = [&](const std::string&) { ++offsetChanges; };
    host.defaults.set("selectedDeviceUID", std::string("interface"));
    host.defaults.set("selectedOutputDeviceUID", std::string("")); // equal: no assignment
    host.defaults.set("calibrationOffset", 120.0);
    host.defaults.set("conservativeDoseMode", true);
    host.defaults.set("autoStartSessions", false);
    host.defaults.set("timeSensitiveNotifications", std::string("no Boolean"));
    host.defaults.set("MonitoringDiscipline.target", 85.0);
    host.defaults.set("MonitoringAlerts.driftEnabled", false);
    host.defaults.set("DoseCalculator.accumulatedDose", 0.5);
    host.defaults.set("DoseCalculator.doseDate", host.loop.now());
    host.loginItem.enabled = true;
    hub.refreshAfterTovikImport();
    host.loop.runPosted();
    EXPECT_EQ(hub.deviceManager.selectedDeviceUID.get(), "interface");
    EXPECT_EQ(offsetChanges, 0);
    EXPECT_EQ(hub.settings.calibrationOffset, 120.0);
    EXPECT_TRUE(hub.doseCalculator.conservativeMode);
    EXPECT_FALSE(hub.settings.autoStartSessions);
    EXPECT_TRUE(hub.settings.timeSensitiveNotifications);
    EXPECT_EQ(hub.referenceTracker.settings.get().target, 85.0);
    EXPECT_FALSE(hub.alertDetector.settings.get().driftAlertEnabled);
    EXPECT_EQ(hub.doseCalculator.dosePercentage, 50);
    EXPECT_TRUE(hub.settings.launchAtLogin);
    EXPECT_THAT(host.loginItem.calls, ElementsAre("register"));
}

TEST_F(HubSettingsTest, ASimulatedBandChangesWhatIsShownAndNothingElse)
{
    AppState hub(host.host());
    EXPECT_EQ(hub.displayDoseLevel(), DoseLevel::safe);
    const auto stored = host.defaults.values();
    hub.simulatedDoseLevel = DoseLevel::danger;
    EXPECT_EQ(hub.displayDoseLevel(), DoseLevel::danger);
    EXPECT_EQ(hub.doseCalculator.doseLevel.get(), DoseLevel::safe);
    EXPECT_EQ(host.defaults.values(), stored);
}

} // namespace
} // namespace velmor
