// SPDX-License-Identifier: GPL-3.0-or-later
#include <meter/MeterError.h>
#include <meter/Options.h>
#include <support/TemporaryFolder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velmor {
namespace {

using testing::HasSubstr;

Options parse(std::vector<const char*> arguments)
{
    arguments.insert(arguments.begin(), "velmor-meter");
    return std::get<Options>(parseOptions(static_cast<int>(arguments.size()), arguments.data()));
}

std::string errorOf(const std::vector<const char*>& arguments)
{
    try {
        parse(arguments);
    } catch (const MeterError& error) {
        return error.what();
    }
    return "none";
}

TEST(Options, AFileAloneIsMeasuredByTheDefaults)
{
    const Options options = parse({"mix.wav"});
    EXPECT_EQ(options.task, Options::Task::measureFile);
    EXPECT_EQ(options.file, "mix.wav");
    EXPECT_EQ(options.channel, 1);
    EXPECT_EQ(options.calibrationOffset, std::nullopt);
    EXPECT_FALSE(options.conservative);
    EXPECT_FALSE(options.json);
    EXPECT_FALSE(options.start);
    EXPECT_FALSE(options.seconds);
    EXPECT_EQ(options.calendar.zoneName(), Calendar::current().zoneName());
}

TEST(Options, EachOneIsRead)
{
    const Options file = parse({"mix.wav",     "--channel",      "2",       "--offset",
                                "118.5",       "--conservative", "--start", "2026-03-01T09:12:45Z",
                                "--time-zone", "Europe/Berlin",  "--json",  "--blocks",
                                "b",           "--ticks",        "t",       "--name",
                                "Mix",         "--history",      "h",       "--notifications",
                                "n",           "--target",       "83",      "--tolerance",
                                "2.5"});
    EXPECT_EQ(file.channel, 2);
    EXPECT_EQ(file.calibrationOffset, 118.5);
    EXPECT_TRUE(file.conservative);
    EXPECT_EQ(file.start, dateFromIsoText("2026-03-01T09:12:45Z"));
    EXPECT_EQ(file.calendar.zoneName(), "Europe/Berlin");
    EXPECT_TRUE(file.json);
    EXPECT_EQ(file.blocksPath, "b");
    EXPECT_EQ(file.ticksPath, "t");
    EXPECT_EQ(file.name, "Mix");
    EXPECT_EQ(file.historyFolder, "h");
    EXPECT_EQ(file.notificationsPath, "n");
    EXPECT_EQ(file.target, 83);
    EXPECT_EQ(file.tolerance, 2.5);

    const Options live = parse({"--live", "--device", "mic", "--seconds", "2.5", "--offset", "-3"});
    EXPECT_EQ(live.task, Options::Task::measureLive);
    EXPECT_EQ(live.device, "mic");
    EXPECT_EQ(live.seconds, 2.5);
    EXPECT_EQ(live.calibrationOffset, -3);
    EXPECT_EQ(parse({"--list-devices", "--json"}).task, Options::Task::listDevices);
    const Options noise = parse({"--noise", "n.wav", "--seconds", "2"});
    EXPECT_EQ(noise.task, Options::Task::writeNoise);
    EXPECT_EQ(noise.noisePath, "n.wav");
    EXPECT_EQ(noise.seconds, 2);
    EXPECT_EQ(parse({"--noise", "n.wav"}).seconds, 10);
    const Options response = parse({"--mic-response", "r.wav", "--channel", "2", "--json"});
    EXPECT_EQ(response.task, Options::Task::analyzeMicResponse);
    EXPECT_EQ(response.file, "r.wav");
    EXPECT_EQ(response.channel, 2);
}

TEST(Options, WhatMakesNoSenseIsRefusedInOneLine)
{
    const std::vector<std::vector<const char*>> commands = {
        {},
        {"a.wav", "b.wav"},
        {"a.wav", "--live"},
        {"a.wav", "--list-devices"},
        {"--live", "--list-devices"},
        {"a.wav", "--noise", "n.wav"},
        {"a.wav", "--mic-response", "r.wav"},
        {"--live", "--noise", "n.wav"},
        {"--noise", "n.wav", "--mic-response", "r.wav"},
        {"--noise", "n.wav", "--seconds", "601"},
        {"--noise", "n.wav", "--seconds", "1e-9"},
        {"--noise", "n.wav", "--history", "h"},
        {"--mic-response", "r.wav", "--seconds", "3"},
        {"--mic-response", "r.wav", "--ticks", "t"},
        {"--mic-response", "r.wav", "--offset", "90"},
        {"a.wav", "--device", "mic"},
        {"a.wav", "--seconds", "3"},
        {"--live", "--start", "2026-03-01T09:12:45Z"},
        {"--live", "--seconds", "0"},
        {"--live", "--seconds", "-1"},
        {"--live", "--seconds", "nan"},
        {"--live", "--seconds", "1e300"},
        {"a.wav", "--channel", "0"},
        {"a.wav", "--channel", "-1"},
        {"a.wav", "--channel", "two"},
        {"a.wav", "--channel", "99999999999999"},
        {"a.wav", "--offset", "loud"},
        {"a.wav", "--offset", "inf"},
        {"a.wav", "--offset", "nan"},
        {"a.wav", "--start", "yesterday"},
        {"a.wav", "--start", "2026-03-01T09:12:45"},
        {"a.wav", "--time-zone", "Europe/Atlantis"},
        {"a.wav", "--unknown"},
        {"a.wav", "--blocks"},
        {"a.wav", "--blocks", ""},
        {"a.wav", "--start", ""},
        {"a.wav", "--time-zone", ""},
        {"--live", "--device", ""},
        {"a.wav", "--start", "0000-01-01T00:00:00Z"},
        {"a.wav", "--start", "9999-12-31T23:59:59Z"},
        {"a.wav", "--start", "2262-04-11T23:47:16Z"},
        {"a.wav", "--blocks", "-", "--ticks", "/dev/stdout"},
        {"a.wav", "--blocks", "-", "--ticks", "-"},
        {"a.wav", "--notifications", "n", "--ticks", "n"},
        {"a.wav", "--target", "0"},
        {"a.wav", "--target", "nan"},
        {"a.wav", "--tolerance", "-3"},
        {"a.wav", "--tolerance", "inf"},
        {"a.wav", "--history", ""},
        {"a.wav", "--name", ""},
        {"a.wav", "--history", "h", "--ticks", "h/sessions.json"},
        {"h/sessions.json", "--history", "h"},
    };
    for (const auto& command : commands) {
        const std::string error = errorOf(command);
        EXPECT_NE(error, "none") << testing::PrintToString(command);
        EXPECT_EQ(error.find('\n'), std::string::npos) << error;
    }
    EXPECT_EQ(errorOf({"a.wav", "--channel", "0"}), "no channel 0: channels are counted from 1");
    EXPECT_EQ(errorOf({"a.wav", "--time-zone", "Europe/Atlantis"}),
              "--time-zone Europe/Atlantis: no such time zone");
}

TEST(Options, AFileIsNotWrittenOverItself)
{
    const test::TemporaryFolder folder;
    const std::string sound = folder / "mix.wav";
    const std::string other = (folder.path() / "." / "mix.wav").native();
    const std::string link = folder / "link";
    test::writeFile(sound, "");
    std::filesystem::create_hard_link(sound, link);
    EXPECT_THAT(errorOf({sound.c_str(), "--blocks", sound.c_str()}), HasSubstr("named twice"));
    EXPECT_THAT(errorOf({sound.c_str(), "--ticks", other.c_str()}), HasSubstr("named twice"));
    EXPECT_THAT(errorOf({sound.c_str(), "--ticks", link.c_str()}), HasSubstr("named twice"));
    EXPECT_THAT(errorOf({sound.c_str(), "--blocks", "new", "--ticks", "./new"}), HasSubstr("named twice"));
    EXPECT_EQ(errorOf({sound.c_str(), "--blocks", "/dev/null", "--ticks", "/dev/null"}), "none");
}

TEST(Options, HelpAndVersionEndTheProgramWithSuccess)
{
    for (const char* wish : {"--help", "--version"}) {
        const char* arguments[] = {"velmor-meter", wish};
        testing::internal::CaptureStdout();
        const auto parsed = parseOptions(2, arguments);
        EXPECT_NE(testing::internal::GetCapturedStdout(), "");
        EXPECT_EQ(std::get<EarlyExit>(parsed).status, 0);
    }
}

} // namespace
} // namespace velmor
