// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/DAWDetectionService.h>
#include <app/DAWIconResolver.h>
#include <integrations/Constants.h>
#include <support/HubHost.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr auto reaper = "com.cockos.reaper";
constexpr auto bitwig = "com.bitwig.studio";
constexpr auto customKey = "Velmor.customDAWBundleIDs";

class DAWDetectionServiceTest : public testing::Test
{
protected:
    DAWDetectionService& start()
    {
        m_service = std::make_unique<DAWDetectionService>(workspace, defaults);
        m_service->onDAWLaunched = [this](const std::string& name) { events.push_back("launched " + name); };
        m_service->onAllDAWsQuit = [this] { events.emplace_back("all quit"); };
        return *m_service;
    }

    std::optional<DefaultsDictionary> stored() const { return defaults.get<DefaultsDictionary>(customKey); }

    test::FakeWorkspace workspace;
    MemoryDefaultsStore defaults;
    std::vector<std::string> events;

private:
    std::unique_ptr<DAWDetectionService> m_service;
};

TEST_F(DAWDetectionServiceTest, TheTableHasItsFifteenRows)
{
    EXPECT_THAT(
        Constants::knownDAWBundleIDs,
        ElementsAre(Pair("com.ableton.live", "Ableton Live"), Pair("com.adobe.audition", "Adobe Audition"),
                    Pair("com.apple.FinalCutPro", "Final Cut Pro"),
                    Pair("com.apple.garageband", "GarageBand"), Pair("com.apple.logic10", "Logic Pro"),
                    Pair("com.avid.ProTools", "Pro Tools"), Pair("com.bitwig.studio", "Bitwig Studio"),
                    Pair("com.blackmagic-design.DaVinciResolve", "DaVinci Resolve"),
                    Pair("com.cockos.reaper", "REAPER"), Pair("com.image-line.flstudio", "FL Studio"),
                    Pair("com.presonus.studioone", "Studio One"), Pair("com.steinberg.cubase", "Cubase"),
                    Pair("com.steinberg.nuendo", "Nuendo"), Pair("com.uaudio.luna", "LUNA"),
                    Pair("org.audacityteam.audacity", "Audacity")));
    EXPECT_EQ(start().watchedBundleIDs(), Constants::knownDAWBundleIDs);
}

TEST_F(DAWDetectionServiceTest, WhatRunsAtTheStartIsActiveAndRaisesNothing)
{
    workspace.running = {{"", "a shell"}, {"org.example.Editor", "Editor"}, {reaper, "reaper"}};
    DAWDetectionService& service = start();
    EXPECT_THAT(service.activeDAWs.get(), ElementsAre(Pair(reaper, "REAPER")));
    EXPECT_TRUE(service.isDAWRunning);
    EXPECT_THAT(events, IsEmpty());
    EXPECT_EQ(service.primaryDAWName(), "REAPER");
    EXPECT_THAT(service.runningDAWNames(), ElementsAre("REAPER"));
}

TEST_F(DAWDetectionServiceTest, WithNothingRunningThereIsNoName)
{
    const DAWDetectionService& service = start();
    EXPECT_FALSE(service.isDAWRunning);
    EXPECT_EQ(service.primaryDAWName(), "");
    EXPECT_THAT(service.runningDAWNames(), IsEmpty());
}

TEST_F(DAWDetectionServiceTest, AnyOtherProgramIsIgnored)
{
    const DAWDetectionService& service = start();
    workspace.launch("org.example.Editor");
    workspace.launch("");
    workspace.terminate("org.example.Editor");
    workspace.terminate("");
    EXPECT_THAT(service.activeDAWs.get(), IsEmpty());
    EXPECT_THAT(events, IsEmpty());
}

TEST_F(DAWDetectionServiceTest, QuittingTheLastOfTwoRaisesOnceAndTheFirstRaisesNothing)
{
    DAWDetectionService& service = start();
    workspace.launch(reaper);
    workspace.launch(bitwig);
    EXPECT_THAT(events, ElementsAre("launched REAPER"));
    workspace.terminate(reaper);
    EXPECT_THAT(events, ElementsAre("launched REAPER"));
    EXPECT_TRUE(service.isDAWRunning);
    workspace.terminate(bitwig);
    EXPECT_THAT(events, ElementsAre("launched REAPER", "all quit"));
    EXPECT_FALSE(service.isDAWRunning);
}

TEST_F(DAWDetectionServiceTest, ASecondInstanceRaisesNothingAndTheEndOfEitherEndsTheEntry)
{
    const DAWDetectionService& service = start();
    workspace.launch(reaper);
    workspace.launch(reaper);
    EXPECT_THAT(events, ElementsAre("launched REAPER"));
    EXPECT_EQ(service.activeDAWs.get().size(), 1U);
    workspace.terminate(reaper);
    EXPECT_THAT(events, ElementsAre("launched REAPER", "all quit"));
    EXPECT_THAT(service.activeDAWs.get(), IsEmpty());
    workspace.terminate(reaper);
    EXPECT_THAT(events, ElementsAre("launched REAPER", "all quit"));
}

TEST_F(DAWDetectionServiceTest, ABuiltInProgramIsNotAddedAgainEvenUnderAnotherName)
{
    DAWDetectionService& service = start();
    service.addCustomDAW(reaper, "My REAPER");
    EXPECT_EQ(service.watchedBundleIDs(), Constants::knownDAWBundleIDs);
    EXPECT_EQ(stored(), std::nullopt);
}

TEST_F(DAWDetectionServiceTest, RemovingABuiltInProgramChangesNothing)
{
    DAWDetectionService& service = start();
    service.removeCustomDAW(reaper);
    EXPECT_EQ(service.watchedBundleIDs(), Constants::knownDAWBundleIDs);
    EXPECT_EQ(stored(), std::nullopt);
}

TEST_F(DAWDetectionServiceTest, ACustomProgramIsStoredRenamedAndNoticedAtItsNextLaunch)
{
    DAWDetectionService& service = start();
    workspace.launch("ardour");
    service.addCustomDAW("ardour", "Ardour");
    EXPECT_FALSE(service.isDAWRunning);
    service.addCustomDAW("ardour", "Ardour 8");
    EXPECT_EQ(stored(), (DefaultsDictionary{{"ardour", "Ardour 8"}}));
    workspace.launch("ardour");
    EXPECT_THAT(events, ElementsAre("launched Ardour 8"));
}

TEST_F(DAWDetectionServiceTest, ACustomProgramThatIsRemovedWhileItRunsStaysActiveUntilItEnds)
{
    DAWDetectionService& service = start();
    service.addCustomDAW("ardour", "Ardour");
    workspace.launch("ardour");
    service.removeCustomDAW("ardour");
    EXPECT_EQ(stored(), DefaultsDictionary());
    EXPECT_TRUE(service.isDAWRunning);
    workspace.terminate("ardour");
    EXPECT_THAT(events, ElementsAre("launched Ardour", "all quit"));
}

TEST_F(DAWDetectionServiceTest, RemovingWhatWasNeverAddedWritesNothing)
{
    start().removeCustomDAW("ardour");
    EXPECT_EQ(stored(), std::nullopt);
}

TEST_F(DAWDetectionServiceTest, AStoredEntryOfABuiltInProgramIsIgnoredAndTheNextWriteDropsIt)
{
    defaults.set(customKey, DefaultsDictionary{{reaper, "Renamed"}, {"ardour", "Ardour"}});
    DAWDetectionService& service = start();
    EXPECT_EQ(service.watchedBundleIDs().at(reaper), "REAPER");
    EXPECT_EQ(service.watchedBundleIDs().at("ardour"), "Ardour");
    service.addCustomDAW("lmms", "LMMS");
    EXPECT_EQ(stored(), (DefaultsDictionary{{"ardour", "Ardour"}, {"lmms", "LMMS"}}));
}

TEST_F(DAWDetectionServiceTest, AStoredValueOfAnotherTypeCountsAsNone)
{
    defaults.set(customKey, std::string("ardour"));
    EXPECT_EQ(start().watchedBundleIDs(), Constants::knownDAWBundleIDs);
}

TEST_F(DAWDetectionServiceTest, AReloadRaisesAgainForWhatRunsAndDropsInSilenceWhatIsNotWatchedAnyMore)
{
    defaults.set(customKey, DefaultsDictionary{{"ardour", "Ardour"}});
    DAWDetectionService& service = start();
    workspace.launch("ardour");
    workspace.launch(reaper);
    events.clear();
    defaults.set(customKey, DefaultsDictionary{{"lmms", "LMMS"}});
    service.reloadCustomDAWs();
    EXPECT_THAT(events, ElementsAre("launched REAPER"));
    EXPECT_THAT(service.activeDAWs.get(), ElementsAre(Pair(reaper, "REAPER")));

    events.clear();
    workspace.terminate(reaper);
    events.clear();
    service.reloadCustomDAWs();
    EXPECT_THAT(events, IsEmpty());
}

TEST_F(DAWDetectionServiceTest, AReloadThatLeavesNothingActiveRaisesNothing)
{
    defaults.set(customKey, DefaultsDictionary{{"ardour", "Ardour"}});
    DAWDetectionService& service = start();
    workspace.launch("ardour");
    events.clear();
    defaults.remove(customKey);
    service.reloadCustomDAWs();
    EXPECT_FALSE(service.isDAWRunning);
    EXPECT_THAT(events, IsEmpty());
}

TEST_F(DAWDetectionServiceTest, AReloadFindsACustomProgramThatWasRunningBefore)
{
    DAWDetectionService& service = start();
    workspace.launch("ardour");
    defaults.set(customKey, DefaultsDictionary{{"ardour", "Ardour"}});
    service.reloadCustomDAWs();
    EXPECT_THAT(events, ElementsAre("launched Ardour"));
}

class DAWIconResolverTest : public testing::Test
{
protected:
    DAWIconResolverTest()
    {
        workspace.locations = {{reaper, "/apps/reaper.desktop"}, {"ardour", "/apps/ardour.desktop"}};
        workspace.icons = {{"/apps/reaper.desktop", {"cockos-reaper"}}, {"/apps/ardour.desktop", {"ardour"}}};
    }

    test::FakeWorkspace workspace;
    MemoryDefaultsStore defaults;
    DAWIconResolver resolver{workspace, defaults};
};

TEST_F(DAWIconResolverTest, ABuiltInNameGivesItsIconAndIsLookedUpOnce)
{
    EXPECT_EQ(resolver.icon("REAPER"), ApplicationIcon{"cockos-reaper"});
    EXPECT_EQ(resolver.icon("REAPER"), ApplicationIcon{"cockos-reaper"});
    EXPECT_EQ(workspace.iconLookUps, 1);
    resolver.clearCache();
    EXPECT_EQ(resolver.icon("REAPER"), ApplicationIcon{"cockos-reaper"});
    EXPECT_EQ(workspace.iconLookUps, 2);
}

TEST_F(DAWIconResolverTest, ACustomNameIsFoundInTheStore)
{
    EXPECT_EQ(resolver.icon("Ardour"), std::nullopt);
    defaults.set(customKey, DefaultsDictionary{{"ardour", "Ardour"}});
    EXPECT_EQ(resolver.icon("Ardour"), ApplicationIcon{"ardour"});
    defaults.set(customKey, true);
    EXPECT_EQ(resolver.icon("LMMS"), std::nullopt);
}

TEST_F(DAWIconResolverTest, ANameWithoutAnIconIsLookedUpEachTime)
{
    EXPECT_EQ(resolver.icon("Bitwig Studio"), std::nullopt);
    EXPECT_EQ(resolver.icon("Bitwig Studio"), std::nullopt);
    EXPECT_EQ(workspace.iconLookUps, 2);
    workspace.icons.clear();
    EXPECT_EQ(resolver.icon("REAPER"), std::nullopt);
    EXPECT_EQ(resolver.icon("Manual"), std::nullopt);
}

} // namespace
} // namespace velmor
