// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/VirtualMainLoop.h>
#include <calibration/CalibrationProfileStore.h>
#include <platform/MemoryDefaultsStore.h>

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmor {
namespace {

class CalibrationProfileStoreTest : public testing::Test
{
protected:
    CalibrationProfileStoreTest() { restart(); }

    void restart() { store = std::make_unique<CalibrationProfileStore>(loop, defaults); }

    void save(const std::string& label, const std::optional<MicCorrectionProfile>& freqProfile = std::nullopt)
    {
        store->save(label, "mic", "Measurement Mic", 101.5, freqProfile);
    }

    std::vector<std::string> labels() const
    {
        std::vector<std::string> all;
        for (const auto& profile : store->profiles.get())
            all.push_back(profile.label);
        return all;
    }

    std::string stored() const
    {
        return std::string(textOf(defaults.get<DefaultsData>("calibrationProfiles_v1").value()));
    }

    VirtualMainLoop loop{dateFromIsoText("2026-03-02T09:00:00Z").value()};
    MemoryDefaultsStore defaults;
    std::unique_ptr<CalibrationProfileStore> store;
    const MicCorrectionProfile correction{{0.5F, 0.5F}, 48000, loop.now(), {{1000, 1}}};
};

TEST_F(CalibrationProfileStoreTest, TheNewestComesFirstAndTheOrderSurvivesARestart)
{
    save("first");
    save("second", correction);
    EXPECT_EQ(labels(), (std::vector<std::string>{"second", "first"}));
    const auto before = store->profiles.get();
    restart();
    EXPECT_EQ(store->profiles.get(), before);
    EXPECT_EQ(before[0].freqProfile, correction);
    EXPECT_EQ(before[0].savedDate, loop.now());
    EXPECT_NE(before[0].id, before[1].id);
}

TEST_F(CalibrationProfileStoreTest, IsStoredAsAnArrayOfObjectsThatLeaveOutWhatIsAbsent)
{
    save("desk");
    const std::string id = uuidText(store->profiles.get()[0].id);
    EXPECT_EQ(stored(), R"([{"id":")" + id +
                            R"(","label":"desk","deviceUID":"mic","deviceName":"Measurement Mic",)"
                            R"("levelOffsetAtSave":101.5,"savedDate":794134800}])");
    save("with", correction);
    EXPECT_NE(stored().find(R"("freqProfile":{"taps":[0.5,0.5],"sampleRate":48000,)"), std::string::npos);
}

TEST_F(CalibrationProfileStoreTest, ABlankLabelBecomesTheDevicesName)
{
    EXPECT_EQ(CalibrationProfileStore::labelFor("", "Mic"), "Mic");
    EXPECT_EQ(CalibrationProfileStore::labelFor(" \t ", "Mic"), "Mic");
    EXPECT_EQ(CalibrationProfileStore::labelFor("  at desk ", "Mic"), "at desk");
}

TEST_F(CalibrationProfileStoreTest, LabelsNeedNotBeUnique)
{
    save("a");
    save("a");
    EXPECT_EQ(labels(), (std::vector<std::string>{"a", "a"}));
}

TEST_F(CalibrationProfileStoreTest, ApplyingAProfileWithoutACorrectionLeavesTheOneInForce)
{
    MicFrequencyCorrection inForce(defaults);
    save("plain");
    for (const bool isOn : {true, false}) {
        inForce.save(correction);
        inForce.isEnabled = isOn;
        CalibrationProfileStore::apply(store->profiles.get()[0], inForce);
        EXPECT_EQ(inForce.profile.get(), correction);
        EXPECT_EQ(inForce.isEnabled, isOn);
    }
}

TEST_F(CalibrationProfileStoreTest, ApplyingACorrectionOfAnotherRateTurnsItOnAndItRests)
{
    MicFrequencyCorrection inForce(defaults);
    save("with", correction);
    CalibrationProfileStore::apply(store->profiles.get()[0], inForce);
    EXPECT_EQ(inForce.profile.get(), correction);
    EXPECT_TRUE(inForce.isEnabled);
    std::vector<float> samples = {1, 2};
    inForce.apply(samples, 44100);
    EXPECT_EQ(samples, (std::vector<float>{1, 2}));
    inForce.apply(samples, 48000);
    EXPECT_EQ(samples, (std::vector<float>{0.5F, 1.5F}));
}

TEST_F(CalibrationProfileStoreTest, RemovesByIdentityAndRewritesTheListAlsoForAnUnknownOne)
{
    save("first");
    save("second");
    store->remove(store->profiles.get()[1].id);
    EXPECT_EQ(labels(), std::vector<std::string>{"second"});
    const std::string before = stored();
    defaults.remove("calibrationProfiles_v1");
    store->remove(makeUuid());
    EXPECT_EQ(stored(), before);
    restart();
    EXPECT_EQ(labels(), std::vector<std::string>{"second"});
}

TEST_F(CalibrationProfileStoreTest, AReloadAfterTheKeyWasRemovedLeavesAnEmptyList)
{
    save("first");
    defaults.remove("calibrationProfiles_v1");
    store->reload();
    EXPECT_TRUE(store->profiles.get().empty());
}

TEST_F(CalibrationProfileStoreTest, CorruptDataReadsAsNoneAndIsKeptUntilTheNextSave)
{
    for (const std::string text : {"", "no JSON", "{}", R"([{"id":"x"}])"}) {
        defaults.set("calibrationProfiles_v1", dataOf(text));
        restart();
        EXPECT_TRUE(store->profiles.get().empty());
        EXPECT_EQ(stored(), text);
    }
    save("new");
    restart();
    EXPECT_EQ(labels(), std::vector<std::string>{"new"});
}

TEST_F(CalibrationProfileStoreTest, AnOffsetThatIsNoNumberIsNotStored)
{
    save("first");
    const std::string before = stored();
    store->save("bad", "mic", "Mic", std::numeric_limits<double>::quiet_NaN(), std::nullopt);
    EXPECT_EQ(stored(), before);
}

} // namespace
} // namespace velmor
