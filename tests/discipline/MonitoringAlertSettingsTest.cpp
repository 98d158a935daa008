// SPDX-License-Identifier: GPL-3.0-or-later
#include <discipline/MonitoringAlertSettings.h>
#include <platform/MemoryDefaultsStore.h>

#include <gtest/gtest.h>

#include <string>

namespace velmor {
namespace {

TEST(MonitoringAlertSettings, HaveTheirDefaults)
{
    MemoryDefaultsStore defaults;
    const MonitoringAlertSettings settings = MonitoringAlertSettingsStore(defaults).load();
    EXPECT_TRUE(settings.driftAlertEnabled);
    EXPECT_TRUE(settings.offTargetAlertEnabled);
    EXPECT_EQ(settings.offTargetDirection, OffTargetDirection::both);
    EXPECT_EQ(settings.offTargetWindowSec, 900.0);
    EXPECT_EQ(settings.offTargetToleranceDB, 5.0);
}

TEST(MonitoringAlertSettings, SavingWritesAllFiveKeysAndLoadingReadsThem)
{
    MemoryDefaultsStore defaults;
    const MonitoringAlertSettings settings{false, false, OffTargetDirection::overOnly, 333.0, 4.5};
    MonitoringAlertSettingsStore(defaults).save(settings);
    EXPECT_EQ(defaults.values().size(), 5U);
    EXPECT_EQ(defaults.get<bool>("MonitoringAlerts.driftEnabled"), false);
    EXPECT_EQ(defaults.get<bool>("MonitoringAlerts.offTargetEnabled"), false);
    EXPECT_EQ(defaults.get<std::string>("MonitoringAlerts.offTargetDirection"), "overOnly");
    EXPECT_EQ(defaults.get<double>("MonitoringAlerts.offTargetWindowSec"), 333.0);
    EXPECT_EQ(defaults.get<double>("MonitoringAlerts.offTargetToleranceDB"), 4.5);
    EXPECT_EQ(MonitoringAlertSettingsStore(defaults).load(), settings);
}

TEST(MonitoringAlertSettings, ValuesThatCanNotBeUsedReadAsTheDefault)
{
    MemoryDefaultsStore unknown({{"MonitoringAlerts.offTargetDirection", std::string("sideways")},
                                 {"MonitoringAlerts.offTargetWindowSec", 0.0},
                                 {"MonitoringAlerts.offTargetToleranceDB", -5.0}});
    EXPECT_EQ(MonitoringAlertSettingsStore(unknown).load(), MonitoringAlertSettings{});
    MemoryDefaultsStore wrong({{"MonitoringAlerts.driftEnabled", std::string("false")},
                               {"MonitoringAlerts.offTargetEnabled", 0.0},
                               {"MonitoringAlerts.offTargetDirection", true},
                               {"MonitoringAlerts.offTargetWindowSec", std::int64_t(300)},
                               {"MonitoringAlerts.offTargetToleranceDB", std::string("7")}});
    EXPECT_EQ(MonitoringAlertSettingsStore(wrong).load(), MonitoringAlertSettings{});
}

TEST(MonitoringAlertSettings, ThePickersOfferTheirChoicesInOrder)
{
    ASSERT_EQ(offTargetDirections.size(), 3U);
    EXPECT_EQ(offTargetDirections[0].rawValue, "both");
    EXPECT_EQ(offTargetDirections[0].label, "Both directions");
    EXPECT_EQ(offTargetDirections[1].rawValue, "underOnly");
    EXPECT_EQ(offTargetDirections[1].label, "Under target only");
    EXPECT_EQ(offTargetDirections[2].rawValue, "overOnly");
    EXPECT_EQ(offTargetDirections[2].label, "Over target only");
    ASSERT_EQ(offTargetWindows.size(), 5U);
    EXPECT_EQ(offTargetWindows[0].value, 300.0);
    EXPECT_EQ(offTargetWindows[0].label, "5 minutes");
    EXPECT_EQ(offTargetWindows[1].value, 600.0);
    EXPECT_EQ(offTargetWindows[1].label, "10 minutes");
    EXPECT_EQ(offTargetWindows[2].value, 900.0);
    EXPECT_EQ(offTargetWindows[2].label, "15 minutes (recommended)");
    EXPECT_EQ(offTargetWindows[3].value, 1200.0);
    EXPECT_EQ(offTargetWindows[3].label, "20 minutes");
    EXPECT_EQ(offTargetWindows[4].value, 1800.0);
    EXPECT_EQ(offTargetWindows[4].label, "30 minutes");
    ASSERT_EQ(offTargetTolerances.size(), 3U);
    EXPECT_EQ(offTargetTolerances[0].value, 3.0);
    EXPECT_EQ(offTargetTolerances[0].label, "±3 dB (strict)");
    EXPECT_EQ(offTargetTolerances[1].value, 5.0);
    EXPECT_EQ(offTargetTolerances[1].label, "±5 dB (recommended)");
    EXPECT_EQ(offTargetTolerances[2].value, 7.0);
    EXPECT_EQ(offTargetTolerances[2].label, "±7 dB (relaxed)");
}

} // namespace
} // namespace velmor
