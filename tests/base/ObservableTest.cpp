// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Observable.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velmor {
namespace {

using testing::ElementsAre;

struct Thing final : ObservableObject
{
    Published<int> count{*this, 1};
    Published<std::string> name{*this, "a"};
};

TEST(Published, AnnouncesEveryAssignmentAlsoOfAnEqualValue)
{
    Thing thing;
    std::vector<int> seen;
    const Subscription subscription = thing.count.subscribe([&](int value) { seen.push_back(value); });
    thing.count = 2;
    thing.count = 2;
    thing.name = "b";
    EXPECT_THAT(seen, ElementsAre(2, 2));
}

TEST(Published, IsAlreadyChangedWhenItAnnounces)
{
    Thing thing;
    int seen = 0;
    const Subscription subscription = thing.count.subscribe([&](int) { seen = thing.count; });
    thing.count = 7;
    EXPECT_EQ(seen, 7);
}

TEST(Published, AnnouncesToItsOwnSubscribersBeforeTheObjects)
{
    Thing thing;
    std::vector<std::string> events;
    const Subscription common = thing.onChange([&] { events.push_back("object"); });
    const Subscription own = thing.name.subscribe([&](const std::string& name) { events.push_back(name); });
    thing.name = "b";
    thing.count = 3;
    EXPECT_THAT(events, ElementsAre("b", "object", "object"));
}

TEST(Published, ASubscriptionEndsWithItsHandle)
{
    Thing thing;
    int calls = 0;
    {
        const Subscription own = thing.count.subscribe([&](int) { ++calls; });
        const Subscription common = thing.onChange([&] { ++calls; });
        thing.count = 2;
    }
    thing.count = 3;
    EXPECT_EQ(calls, 2);
}

} // namespace
} // namespace velmor
