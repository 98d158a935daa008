// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/WorkstationAliases.h>

#include <gtest/gtest.h>

namespace velmor {
namespace {

TEST(WorkstationAliases, KnowTheIdentifiersOfDesktopFilesAndFlatpaks)
{
    for (const char* id : {"fm.reaper.Reaper", "cockos-reaper", "reaper"})
        EXPECT_EQ(workstationWithID(id), "com.cockos.reaper") << id;
    for (const char* id : {"com.bitwig.BitwigStudio", "bitwig-studio"})
        EXPECT_EQ(workstationWithID(id), "com.bitwig.studio") << id;
    for (const char* id : {"org.audacityteam.Audacity", "audacity"})
        EXPECT_EQ(workstationWithID(id), "org.audacityteam.audacity") << id;
    for (const char* id : {"com.blackmagicdesign.resolve", "DaVinciResolve"})
        EXPECT_EQ(workstationWithID(id), "com.blackmagic-design.DaVinciResolve") << id;
    for (const char* id : {"", "ardour8", "reaper2", "org.audacity"})
        EXPECT_EQ(workstationWithID(id), std::nullopt) << id;
}

TEST(WorkstationAliases, KnowProgramsByTheirWholeNameAndThoseOfWindowsByItsBeginning)
{
    EXPECT_EQ(workstationOfProgram("reaper"), "com.cockos.reaper");
    EXPECT_EQ(workstationOfProgram("reaper_host_x86_64"), std::nullopt);
    EXPECT_EQ(workstationOfProgram("ableton live 12 lite.exe"), "com.ableton.live");
    EXPECT_EQ(workstationOfProgram("ableton live"), std::nullopt);
    EXPECT_EQ(workstationOfProgram("fl.exe"), "com.image-line.flstudio");
    EXPECT_EQ(workstationOfProgram("flash.exe"), std::nullopt);
    EXPECT_EQ(workstationOfProgram("reaper.exe"), "com.cockos.reaper");
    EXPECT_EQ(workstationOfProgram("reaper_host64.exe"), std::nullopt);
    EXPECT_EQ(workstationOfProgram("studio one crash handler.exe"), std::nullopt);
    EXPECT_EQ(workstationOfProgram(""), std::nullopt);
}

} // namespace
} // namespace velmor
