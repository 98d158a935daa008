// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/CheckForUpdatesViewModel.h>
#include <support/NoSoftwareUpdater.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace velmor {
namespace {

using testing::ElementsAre;

/// Counts how often it is asked.
class FakeUpdater final : public SoftwareUpdater
{
public:
    explicit FakeUpdater(bool canCheck) { canCheckForUpdates = canCheck; }

    void checkForUpdates() override { ++checks; }
    Subscription onOutcome(const std::function<void(const UpdateOutcome&)>&) override { return {}; }

    int checks = 0;
};

TEST(CheckForUpdatesViewModel, BeginsWithWhatTheUpdaterSays)
{
    FakeUpdater ready(true);
    FakeUpdater busy(false);
    EXPECT_TRUE(CheckForUpdatesViewModel(ready).canCheckForUpdates);
    EXPECT_FALSE(CheckForUpdatesViewModel(busy).canCheckForUpdates);
}

TEST(CheckForUpdatesViewModel, FollowsTheUpdaterAndAnnouncesIt)
{
    FakeUpdater updater(true);
    CheckForUpdatesViewModel model(updater);
    std::vector<bool> values;
    int changes = 0;
    const Subscription ofValues =
        model.canCheckForUpdates.subscribe([&](bool canCheck) { values.push_back(canCheck); });
    const Subscription ofChanges = model.onChange([&] { ++changes; });
    updater.canCheckForUpdates = false;
    EXPECT_FALSE(model.canCheckForUpdates);
    updater.canCheckForUpdates = true;
    EXPECT_TRUE(model.canCheckForUpdates);
    EXPECT_THAT(values, ElementsAre(false, true));
    EXPECT_EQ(changes, 2);
}

TEST(CheckForUpdatesViewModel, PassesTheUsersWishOn)
{
    FakeUpdater updater(true);
    CheckForUpdatesViewModel model(updater);
    EXPECT_EQ(&model.updater, &updater);
    EXPECT_EQ(updater.checks, 0);
    model.checkForUpdates();
    EXPECT_EQ(updater.checks, 1);
}

TEST(CheckForUpdatesViewModel, TheUpdaterGoesOnWithoutIt)
{
    FakeUpdater updater(true);
    std::make_unique<CheckForUpdatesViewModel>(updater).reset();
    updater.canCheckForUpdates = false;
    EXPECT_FALSE(updater.canCheckForUpdates);
}

TEST(CheckForUpdatesViewModel, AProgramWithoutAnUpdaterCanNeverCheck)
{
    test::NoSoftwareUpdater updater;
    CheckForUpdatesViewModel model(updater);
    EXPECT_FALSE(model.canCheckForUpdates);
    model.checkForUpdates();
    EXPECT_FALSE(model.canCheckForUpdates);
}

} // namespace
} // namespace velmor
