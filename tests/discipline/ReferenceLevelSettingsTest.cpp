// SPDX-License-Identifier: GPL-3.0-or-later
#include <discipline/ReferenceLevelSettings.h>
#include <platform/MemoryDefaultsStore.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace velmor {
namespace {

TEST(ReferenceLevelSettings, HaveTheirDefaults)
{
    MemoryDefaultsStore defaults;
    const ReferenceLevelSettings settings = ReferenceLevelSettingsStore(defaults).load();
    EXPECT_TRUE(settings.enabled);
    EXPECT_EQ(settings.target, 79.0);
    EXPECT_EQ(settings.tolerance, 3.0);
    EXPECT_EQ(settings.presetID, "k14");
    EXPECT_EQ(settings, ReferenceLevelSettings{});
    EXPECT_TRUE(defaults.values().empty());
}

TEST(ReferenceLevelSettings, SavingWritesAllFourKeysAndLoadingReadsThem)
{
    MemoryDefaultsStore defaults;
    const ReferenceLevelSettings settings{false, 83.5, 2.0, "custom"};
    ReferenceLevelSettingsStore(defaults).save(settings);
    EXPECT_EQ(defaults.values().size(), 4U);
    EXPECT_EQ(defaults.get<bool>("MonitoringDiscipline.enabled"), false);
    EXPECT_EQ(defaults.get<double>("MonitoringDiscipline.target"), 83.5);
    EXPECT_EQ(defaults.get<double>("MonitoringDiscipline.tolerance"), 2.0);
    EXPECT_EQ(defaults.get<std::string>("MonitoringDiscipline.presetID"), "custom");
    EXPECT_EQ(ReferenceLevelSettingsStore(defaults).load(), settings);
}

TEST(ReferenceLevelSettings, AStoredToleranceThatNoPickerHoldsIsAccepted)
{
    MemoryDefaultsStore defaults({{"MonitoringDiscipline.tolerance", 4.0}});
    EXPECT_EQ(ReferenceLevelSettingsStore(defaults).load().tolerance, 4.0);
}

TEST(ReferenceLevelSettings, APresetIDOfAnUnknownTextIsKeptAsItIs)
{
    MemoryDefaultsStore defaults({{"MonitoringDiscipline.presetID", std::string("k99")}});
    EXPECT_EQ(ReferenceLevelSettingsStore(defaults).load().presetID, "k99");
}

TEST(ReferenceLevelSettings, ValuesThatCanNotBeUsedReadAsTheDefault)
{
    for (const double value :
         {0.0, -1.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        MemoryDefaultsStore defaults(
            {{"MonitoringDiscipline.target", value}, {"MonitoringDiscipline.tolerance", value}});
        EXPECT_EQ(ReferenceLevelSettingsStore(defaults).load(), ReferenceLevelSettings{});
    }
    const DefaultsValue wrongForAll = DefaultsData{};
    MemoryDefaultsStore defaults({{"MonitoringDiscipline.enabled", wrongForAll},
                                  {"MonitoringDiscipline.target", std::string("83")},
                                  {"MonitoringDiscipline.tolerance", true},
                                  {"MonitoringDiscipline.presetID", 14.0}});
    EXPECT_EQ(ReferenceLevelSettingsStore(defaults).load(), ReferenceLevelSettings{});
}

TEST(ReferenceLevelSettings, ThePickersOfferThePresetsAndTolerancesInOrder)
{
    ASSERT_EQ(referenceLevelPresets.size(), 5U);
    EXPECT_EQ(referenceLevelPresets[0].rawValue, "mastering");
    EXPECT_EQ(referenceLevelPresets[0].suggestedTarget, 73.0);
    EXPECT_EQ(referenceLevelPresets[0].label, "73 dBA — Mastering");
    EXPECT_EQ(referenceLevelPresets[1].rawValue, "k14");
    EXPECT_EQ(referenceLevelPresets[1].suggestedTarget, 79.0);
    EXPECT_EQ(referenceLevelPresets[1].label, "79 dBA — K-14 Mixing");
    EXPECT_EQ(referenceLevelPresets[2].rawValue, "k12");
    EXPECT_EQ(referenceLevelPresets[2].suggestedTarget, 83.0);
    EXPECT_EQ(referenceLevelPresets[2].label, "83 dBA — K-12 / Broadcast");
    EXPECT_EQ(referenceLevelPresets[3].rawValue, "k20");
    EXPECT_EQ(referenceLevelPresets[3].suggestedTarget, 85.0);
    EXPECT_EQ(referenceLevelPresets[3].label, "85 dBA — K-20 / Dolby / Film");
    EXPECT_EQ(referenceLevelPresets[4].rawValue, "custom");
    EXPECT_FALSE(referenceLevelPresets[4].suggestedTarget);
    EXPECT_EQ(referenceLevelPresets[4].label, "Custom");

    ASSERT_EQ(referenceLevelTolerances.size(), 3U);
    EXPECT_EQ(referenceLevelTolerances[0].value, 2.0);
    EXPECT_EQ(referenceLevelTolerances[0].label, "±2 dB (strict)");
    EXPECT_EQ(referenceLevelTolerances[1].value, 3.0);
    EXPECT_EQ(referenceLevelTolerances[1].label, "±3 dB (recommended)");
    EXPECT_EQ(referenceLevelTolerances[2].value, 5.0);
    EXPECT_EQ(referenceLevelTolerances[2].label, "±5 dB (relaxed)");
}

} // namespace
} // namespace velmor
