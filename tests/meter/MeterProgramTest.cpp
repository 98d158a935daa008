// SPDX-License-Identifier: GPL-3.0-or-later
#include <meter/SoundFile.h>
#include <sessions/SessionFormat.h>
#include <support/Meter.h>
#include <support/Sound.h>
#include <support/TemporaryFolder.h>
#include <support/WriteSound.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <numbers>
#include <thread>

#include <sys/stat.h>

namespace velmor {
namespace {

using test::contentOf;
using test::JsonObject;
using test::levelOfSine;
using test::meter;
using test::Outcome;
using test::sine;
using test::writeFile;
using test::writeSound;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

class MeterProgramTest : public testing::Test
{
protected:
    std::string write(const std::string& name, const std::vector<std::vector<float>>& channels,
                      int sampleRate = 48000)
    {
        std::string path = folder / name;
        writeSound(path, channels, sampleRate);
        return path;
    }

    test::TemporaryFolder folder;
};

/// One line on standard error, status 2, and no file that was not there before.
void expectRefusal(const Outcome& outcome, const std::string& line, const test::TemporaryFolder& folder,
                   const std::vector<std::string>& names)
{
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.error, HasSubstr(line));
    EXPECT_EQ(std::ranges::count(outcome.error, '\n'), 1) << outcome.error;
    EXPECT_EQ(folder.names(), names);
}

TEST_F(MeterProgramTest, ASineOf997HertzReadsWhatTheFormulaSays)
{
    const auto outcome = meter({"--json", write("sine.wav", {sine(997, 0.5, 48000, 10 * 48000)})});
    ASSERT_EQ(outcome.status, 0) << outcome.error;
    const JsonObject json(outcome.output);
    // A(997 Hz) by IEC 61672-1, annex E, is 0.00 dB to two places; the sine's RMS is 0.5 / sqrt(2).
    EXPECT_NEAR(json["currentSPL"], levelOfSine(0.5, 94), 0.05);
    EXPECT_NEAR(json["currentDBC"], levelOfSine(0.5, 94), 0.05);
    EXPECT_NEAR(json["peakDBA"], 20 * std::log10(0.5) + 94, 0.05);
    EXPECT_NEAR(json["todayPeakDBC"], 20 * std::log10(0.5) + 94, 0.1);
}

TEST_F(MeterProgramTest, TheJsonHasItsKeys)
{
    const std::string file =
        write("sine.wav", {sine(1000, 0.5, 48000, 100000), sine(1000, 0.1, 48000, 100000)});
    const auto outcome = meter({"--json", "--channel", "2", "--offset", "100", "--conservative", file});
    ASSERT_EQ(outcome.status, 0) << outcome.error;
    EXPECT_THAT(outcome.output, EndsWith("}\n"));
    const JsonObject json(outcome.output);
    EXPECT_THAT(json.names,
                ElementsAre("file", "sampleRate", "channel", "frames", "blocks", "droppedBlocks",
                            "unusableSamples", "durationSeconds", "calibrationOffset", "conservative",
                            "currentSPL", "currentDBC", "peakDBA", "peakDBC", "todayPeakDBC",
                            "dosePercentage", "doseLevel", "projectedDoseAtEndOfDay", "peakCount135",
                            "peakCount137", "peakCount140", "peakDBACount115", "session", "session.id",
                            "session.startDate", "session.endDate", "session.dawName", "session.averageSPL",
                            "session.peakSPL", "session.doseAccumulated", "session.peakDBC",
                            "session.monitoringTarget", "session.monitoringTolerance",
                            "session.timeSilentSec", "session.timeUnderSec", "session.timeOnTargetSec",
                            "session.timeOverSec", "session.peakCount135", "session.peakCount140",
                            "session.peakDBACount115", "session.readingCount", "calibration",
                            "calibration.method", "calibration.concerns"));
    EXPECT_EQ(json.texts.at("file"), file);
    EXPECT_EQ(json["sampleRate"], 48000);
    EXPECT_EQ(json["channel"], 2);
    EXPECT_EQ(json["frames"], 100000);
    EXPECT_EQ(json["blocks"], 98); // 97.66
    EXPECT_EQ(json["droppedBlocks"], 0);
    EXPECT_EQ(json["durationSeconds"], 100000.0 / 48000);
    EXPECT_EQ(json["calibrationOffset"], 100);
    EXPECT_EQ(json["conservative"], 1);
    EXPECT_NEAR(json["currentSPL"], levelOfSine(0.1, 100), 0.05);
    EXPECT_EQ(json.texts.at("doseLevel"), "safe");
}

TEST_F(MeterProgramTest, TheCalibrationIsToldWithWhatIsWrongWithTheInput)
{
    auto samples = sine(1000, 0.5, 48000, 48000);
    std::fill_n(samples.begin() + 1000, 5, 1.0F);
    const std::string file = write("clipped.wav", {samples});
    const JsonObject untouched(meter({"--json", file}).output);
    EXPECT_EQ(untouched.texts.at("calibration.method"), "never");
    EXPECT_THAT(untouched.lists.at("calibration.concerns"), ElementsAre("\"input clipped once\""));
    const auto outcome = meter({"--json", "--offset", "94", file});
    EXPECT_EQ(JsonObject(outcome.output).texts.at("calibration.method"), "slider");
    EXPECT_THAT(meter({file}).output, HasSubstr("Check the input: input clipped once."));
}

TEST_F(MeterProgramTest, TheNoiseOfTheCalibrationIsWrittenAndItsRecordingAnalysed)
{
    const std::string noise = folder / "noise.wav";
    const auto written = meter({"--noise", noise, "--seconds", "5"});
    ASSERT_EQ(written.status, 0) << written.error;
    EXPECT_EQ(written.output, "");
    SoundFile file(noise);
    EXPECT_EQ(file.sampleRate(), 44100);
    EXPECT_EQ(file.channelCount(), 2);
    EXPECT_EQ(file.frameCount(), 220500);
    // The first and the last of the golden samples of the generator.
    std::vector<float> samples(10000);
    file.read(1, samples);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(samples.front()), 0xbcc66437U);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(samples.back()), 0x3c062897U);

    const auto analysed = meter({"--mic-response", noise, "--channel", "2", "--json"});
    ASSERT_EQ(analysed.status, 0) << analysed.error;
    const JsonObject profile(analysed.output);
    EXPECT_THAT(profile.names, ElementsAre("taps", "sampleRate", "measuredDate", "correctionCurve"));
    EXPECT_EQ(profile.lists.at("taps").size(), 128U);
    ASSERT_EQ(profile.lists.at("correctionCurve").size(), 64U);
    EXPECT_EQ(profile["sampleRate"], 44100);
    for (const std::string& point : profile.lists.at("correctionCurve"))
        EXPECT_NEAR(JsonObject(point)["gainDB"], 0, 0.6) << point;
    const auto people = meter({"--mic-response", noise});
    EXPECT_THAT(people.output, HasSubstr("Correction at 44100 Hz, 128 taps"));
    EXPECT_THAT(people.output, HasSubstr("The filter departs from this curve by "));
}

TEST_F(MeterProgramTest, ARecordingThatIsTooShortOrHasNoSuchChannelIsRefused)
{
    const std::string file = write("short.wav", {sine(1000, 0.5, 48000, 205823)});
    const auto outcome = meter({"--mic-response", file});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.error, "velmor-meter: " + file + ": too short, 205824 samples of noise are needed\n");
    EXPECT_EQ(meter({"--mic-response", file, "--channel", "2"}).status, 2);
    EXPECT_EQ(meter({"--mic-response", folder / "none.wav"}).status, 2);
    EXPECT_EQ(meter({"--noise", folder / "none/noise.wav"}).status, 2);
}

TEST_F(MeterProgramTest, BlocksAreWrittenOneByOne)
{
    const std::string blocks = folder / "blocks.ndjson";
    const auto outcome =
        meter({write("tone.wav", {sine(1000, 150, 48000, 10 * 1024 + 100)}), "--blocks", blocks});
    ASSERT_EQ(outcome.status, 0) << outcome.error;
    const auto lines = test::jsonLines(contentOf(blocks));
    ASSERT_EQ(lines.size(), 11U);
    EXPECT_THAT(lines[0].names,
                ElementsAre("block", "smoothedDBA", "smoothedDBC", "peakDBA", "peakDBC", "peakAlert"));
    for (std::size_t i = 0; i < lines.size(); ++i)
        EXPECT_EQ(lines[i]["block"], static_cast<double>(i));
    // 134.5 dBA held: the first block has 0.3 of it, and so on towards it.
    const double level = levelOfSine(150, 94);
    EXPECT_NEAR(lines[0]["smoothedDBA"], 0.3 * level, 0.3);
    EXPECT_NEAR(lines[9]["smoothedDBA"], (1 - std::pow(0.7, 10)) * level, 0.3);
    EXPECT_NEAR(lines[9]["peakDBC"], level + 3.01, 0.1);
    EXPECT_EQ(lines[9]["peakAlert"], 1);
    struct stat status = {};
    ::stat(blocks.c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(MeterProgramTest, TicksFallOnEveryTenthAndABlockAtTheSameTimeComesFirst)
{
    // 75 blocks end at exactly 1.6 s, the time of the 16th tick, and the last of them is the first
    // loud one.
    std::vector<float> sound(75 * 1024);
    const auto loud = sine(1000, 0.5, 48000, 1024);
    std::ranges::copy(loud, sound.end() - 1024);
    const std::string ticks = folder / "ticks.ndjson";
    const auto outcome = meter({write("late.wav", {sound}), "--ticks", ticks, "--json"});
    ASSERT_EQ(outcome.status, 0) << outcome.error;
    const auto lines = test::jsonLines(contentOf(ticks));
    ASSERT_EQ(lines.size(), 16U);
    EXPECT_THAT(lines[0].names, ElementsAre("t", "spl", "dbc", "peakDBA", "peakDBC", "dosePercentage"));
    for (std::size_t i = 0; i < lines.size(); ++i)
        EXPECT_EQ(lines[i]["t"], static_cast<double>(i + 1) / 10);
    EXPECT_EQ(lines[14]["spl"], 0);
    EXPECT_GT(lines[15]["spl"], 20);
    EXPECT_GT(JsonObject(outcome.output)["currentSPL"], 20);
}

TEST_F(MeterProgramTest, AfterTheEndTicksGoOnToTheFirstAtOrAfterIt)
{
    const auto tickCount = [&](std::size_t frames) {
        const std::string ticks = folder / "ticks.ndjson";
        const auto outcome = meter({write("short.wav", {sine(1000, 0.5, 48000, frames)}), "--ticks", ticks});
        EXPECT_EQ(outcome.status, 0) << outcome.error;
        return test::jsonLines(contentOf(ticks)).size();
    };
    EXPECT_EQ(tickCount(4799), 1U);
    EXPECT_EQ(tickCount(4800), 1U);
    EXPECT_EQ(tickCount(4801), 2U);
    EXPECT_EQ(tickCount(1), 1U);
}

TEST_F(MeterProgramTest, AFileWithoutFramesReadsZero)
{
    const auto outcome = meter({"--json", write("empty.wav", {{}})});
    ASSERT_EQ(outcome.status, 0) << outcome.error;
    const JsonObject json(outcome.output);
    EXPECT_EQ(json["frames"], 0);
    EXPECT_EQ(json["blocks"], 0);
    EXPECT_EQ(json["currentSPL"], 0);
    EXPECT_EQ(json["dosePercentage"], 0);
}

TEST_F(MeterProgramTest, TheLevelsOfDifferentRatesAgree)
{
    for (const int rate : {32000, 44100, 88200, 96000, 192000}) {
        const auto outcome = meter(
            {"--json", write("tone.wav", {sine(997, 0.5, rate, 3U * static_cast<unsigned>(rate))}, rate)});
        ASSERT_EQ(outcome.status, 0) << outcome.error;
        // At the higher rates a block holds a few periods and a rest, which its level shows.
        EXPECT_NEAR(JsonObject(outcome.output)["currentSPL"], levelOfSine(0.5, 94), 0.1) << rate;
    }
}

TEST_F(MeterProgramTest, SamplesThatAreNoNumbersDoNotSpoilTheRest)
{
    auto sound = sine(1000, 0.5, 48000, 5 * 48000);
    sound[1000] = std::nanf("");
    const auto outcome = meter({"--json", write("broken.wav", {sound})});
    const JsonObject json(outcome.output);
    EXPECT_EQ(json["unusableSamples"], 1);
    EXPECT_NEAR(json["currentSPL"], levelOfSine(0.5, 94), 0.05);
}

TEST_F(MeterProgramTest, TheSummaryForPeopleIsShortAndHasTheFigures)
{
    const auto outcome = meter({write("sine.wav", {sine(1000, 0.5, 48000, 10 * 48000)})});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output, HasSubstr("0:00:10 at 48000 Hz, channel 1 of 1, offset 94 dB"));
    EXPECT_THAT(outcome.output, HasSubstr("85.0 dBA"));
    EXPECT_LT(std::ranges::count(outcome.output, '\n'), 20);
    EXPECT_EQ(outcome.error, "");
}

TEST_F(MeterProgramTest, BadInputGetsOneLineAndStatus2AndLeavesNothingBehind)
{
    const std::string sound = write("sine.wav", {sine(1000, 0.5, 48000, 48000)});
    const std::string slow = write("slow.wav", {sine(1000, 0.5, 24000, 24000)}, 24000);
    writeFile(folder / "text.wav", "no sound at all");
    const auto names = folder.names();
    const std::string out = folder / "out.ndjson";
    const std::string missing = folder / "missing.wav";

    expectRefusal(meter({missing, "--blocks", out}), "missing.wav: No such file or directory", folder, names);
    expectRefusal(meter({folder.path(), "--blocks", out}), "is a folder", folder, names);
    expectRefusal(meter({folder / "text.wav", "--ticks", out}), "not a sound file", folder, names);
    expectRefusal(meter({sound, "--channel", "2", "--blocks", out}), "sine.wav: no channel 2, the file has 1",
                  folder, names);
    expectRefusal(meter({slow, "--blocks", out}),
                  "slow.wav: a sample rate of 24000 Hz is too low for A-weighting (above 24388 Hz)", folder,
                  names);
    expectRefusal(meter({sound, "--blocks", folder / "nowhere/out"}),
                  "nowhere/out: can't be written (No such file or directory)", folder, names);
    expectRefusal(meter({sound, "--blocks", out, "--ticks", folder.path()}),
                  "can't be written (Is a directory)", folder, names);
    expectRefusal(meter({sound, "--csv", out, "--report", out}), "named twice, as two different files",
                  folder, names);
    expectRefusal(meter({sound, "--csv", out, "--report", folder / "nowhere/out.pdf"}),
                  "nowhere/out.pdf: can't be written (No such file or directory)", folder, names);
    expectRefusal(meter({"--noise", out, "--report", out}), "--report", folder, names);
    expectRefusal(meter({sound, "--channel", "0"}), "no channel 0", folder, names);
    expectRefusal(meter({"--unknown"}), "--unknown", folder, names);
    expectRefusal(meter({}), "no sound file named", folder, names);
}

TEST_F(MeterProgramTest, AnOutputThatFillsTheDiskIsRefusedAndNothingIsLeft)
{
    const std::string sound = write("sine.wav", {sine(1000, 0.5, 48000, 48000)});
    expectRefusal(meter({sound, "--blocks", "/dev/full"}),
                  "/dev/full: can't be written (No space left on device)", folder, {"sine.wav"});
}

TEST_F(MeterProgramTest, APipeIsWrittenToAlongTheWay)
{
    const std::string sound = write("sine.wav", {sine(1000, 0.5, 48000, 48000)});
    const auto outcome = meter({sound, "--json", "--ticks", "/dev/stdout"});
    EXPECT_EQ(outcome.status, 0) << outcome.error;
    EXPECT_EQ(outcome.output.find("{\"t\":0.1,"), 0U);
    EXPECT_THAT(outcome.output, HasSubstr("\"t\":1,"));
    EXPECT_THAT(outcome.output, EndsWith("\"concerns\": []\n  }\n}\n"));
    EXPECT_TRUE(std::filesystem::is_symlink("/dev/stdout"));
    const auto ticks = [](const std::string& output) { return output.substr(0, output.find("{\n")); };
    EXPECT_EQ(ticks(meter({sound, "--json", "--ticks", "-"}).output), ticks(outcome.output));
    const auto null = meter({sound, "--ticks", "/dev/null"});
    EXPECT_EQ(null.status, 0);
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

/// Runs the meter by way of a shell, for what only a shell can do to its streams.
Outcome shell(const std::string& command)
{
    return test::run({"sh", "-c", command, "sh", test::programPath("velmor-meter")});
}

TEST_F(MeterProgramTest, StandardStreamsThatAreClosedOrFullAreNoCrash)
{
    const std::string sound = write("sine.wav", {sine(1000, 0.5, 48000, 48000)});
    EXPECT_EQ(shell("\"$1\" missing.wav 2>/dev/full").status, 2);
    EXPECT_EQ(shell("\"$1\" missing.wav 2>&-").status, 2);
    const auto full = shell("\"$1\" " + sound + " > /dev/full");
    EXPECT_EQ(full.status, 2);
    EXPECT_EQ(full.error, "velmor-meter: standard output can't be written\n");
    const std::string ticks = folder / "ticks";
    EXPECT_EQ(shell("\"$1\" " + sound + " --ticks " + ticks + " <&- >&- 2>&-").status, 0);
    EXPECT_EQ(test::jsonLines(contentOf(ticks)).size(), 10U);
}

TEST_F(MeterProgramTest, AReaderThatGoesAwayLeavesNoHalfWrittenFile)
{
    const std::string sound = write("long.wav", {std::vector<float>(600 * 48000)});
    const auto outcome =
        shell("\"$1\" " + sound + " --blocks " + (folder / "blocks").native() + " --ticks - | head -n 1");
    EXPECT_EQ(outcome.output.find("{\"t\":0.1,"), 0U);
    EXPECT_EQ(outcome.error, "velmor-meter: -: can't be written (Broken pipe)\n");
    EXPECT_THAT(folder.names(), ElementsAre("long.wav"));
}

TEST_F(MeterProgramTest, TheDemonstrationReadsWhatItPromises)
{
    const std::filesystem::path program = test::programPath("velmor-meter");
    const auto demonstration = program.parent_path().parent_path() / "demonstration.wav";
    const std::string ticks = folder / "ticks";
    const auto outcome = meter({"--json", "--ticks", ticks, demonstration});
    ASSERT_EQ(outcome.status, 0) << outcome.error;
    EXPECT_NEAR(test::jsonLines(contentOf(ticks)).at(189)["spl"], 85.0, 0.01); // after 19 seconds
    const JsonObject json(outcome.output);
    EXPECT_GE(json["peakCount135"], 1);
    EXPECT_NEAR(json["todayPeakDBC"], 138.01, 0.1);
}

TEST_F(MeterProgramTest, AnInterruptedMeasurementLeavesNoHalfWrittenFile)
{
    // Long enough to be still running when the signal comes.
    const std::string sound = folder / "long.wav";
    writeSound(sound, {std::vector<float>(1800 * 48000)}, 48000, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    const auto names = folder.names();
    const pid_t process =
        test::spawn({test::programPath("velmor-meter"), sound, "--blocks", folder / "blocks"});
    // Once its temporary file is there it is at work.
    for (int i = 0; i < 1000 && folder.names() == names; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    ::kill(process, SIGINT);
    int status = 0;
    ::waitpid(process, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 130);
    EXPECT_EQ(folder.names(), names);
}

TEST_F(MeterProgramTest, ASessionIsKeptInTheHistoryOfAFolder)
{
    const std::string sound = write("mix.wav", {sine(1000, 0.5, 48000, 12 * 48000)});
    const std::string history = folder / "history";
    for (const char* start : {"2026-03-02T09:00:00Z", "2199-03-02T09:00:00Z"}) {
        const auto outcome =
            meter({"--json", "--start", start, "--history", history, "--name", "Mix room", sound});
        ASSERT_EQ(outcome.status, 0) << outcome.error;
        EXPECT_EQ(outcome.error, "");
        EXPECT_EQ(JsonObject(outcome.output).texts.at("session.dawName"), "Mix room");
    }
    // The meter thins nothing, however old it takes the sessions to be.
    const auto sessions = decodedHistory(test::contentOf(history + "/sessions.json"));
    ASSERT_EQ(sessions.size(), 2U);
    EXPECT_EQ(sessions[1].startDate, dateFromIsoText("2026-03-02T09:00:00Z"));
    EXPECT_EQ(sessions[1].duration({}), 12);
    EXPECT_EQ(sessions[1].readings.size(), 1U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(history), {}), 1);
}

TEST_F(MeterProgramTest, TheSessionIsExportedWithoutADisplay)
{
    ::unsetenv("DISPLAY");
    ::unsetenv("WAYLAND_DISPLAY");
    ::setenv("QT_QPA_PLATFORMTHEME", "gtk3", 1);
    const std::string sound = write("mix.wav", {sine(1000, 0.5, 48000, 25 * 48000)});
    const std::string csv = folder / "session.csv";
    const std::string series = folder / "series.csv";
    const std::string json = folder / "session.json";
    const std::string report = folder / "report.pdf";
    const auto outcome = meter({"--json", "--start", "2025-03-02T23:30:00Z", "--time-zone", "Europe/Berlin",
                                "--name", "Mix, \"B\"", "--csv", csv, "--time-series", series,
                                "--session-json", json, "--report", report, sound});
    ASSERT_EQ(outcome.status, 0) << outcome.error;
    EXPECT_EQ(outcome.error, "");
    const JsonObject figures(outcome.output);
    // 0.5 of full scale is 9.03 dB below an RMS of 1, which is 94 dB; at 1 kHz the weighting is 0.
    EXPECT_NEAR(figures["session.averageSPL"], 84.97, 0.05);
    EXPECT_THAT(contentOf(csv),
                HasSubstr("\n2025-03-03,\"Mix, \"\"B\"\"\",00:30:00,00:30:25,2025-03-02T23:30:00Z,0.4,"));
    // The highest levels, the peak another 3.01 dB above them, and the statistics of two equal readings.
    EXPECT_THAT(contentOf(csv), HasSubstr(",85.0,88.0,85.0,85.0,85.0,85.0,79,3,"));
    EXPECT_THAT(contentOf(csv), HasSubstr("\nDaily totals\n"));
    EXPECT_THAT(contentOf(series),
                testing::StartsWith("Time,dBA,dBC,Day dose %,Zone\n2025-03-02T23:30:10Z,84.9"));
    const auto sessions = decodedHistory(contentOf(json));
    ASSERT_EQ(sessions.size(), 1U);
    EXPECT_EQ(sessions[0].readings.size(), 2U);
    struct stat status = {};
    ASSERT_EQ(::stat(csv.c_str(), &status), 0);
    EXPECT_NE(status.st_mode & S_IRGRP, 0U) << "it is to be handed on";
    const std::string text = test::run({"pdftotext", "-layout", report, "-"}).output;
    for (const char* part :
         {"Mix, \"B\"", "Mar 3, 2025, 12:30 AM", "85.0", "Target 79 dBA", "Calibration: none"})
        EXPECT_THAT(text, HasSubstr(part));
}

TEST_F(MeterProgramTest, AnExportThatFailsIsAnErrorAfterTheFiguresAndTheOtherExports)
{
    const std::string sound = write("mix.wav", {sine(1000, 0.5, 48000, 25 * 48000)});
    const std::string report = folder / "report.pdf";
    const auto outcome = meter({"--csv", "/dev/full", "--report", report, sound});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.output, HasSubstr("Session average"));
    EXPECT_EQ(outcome.error, "velmor-meter: /dev/full: can't be written (No space left on device)\n");
    EXPECT_THAT(contentOf(report), testing::StartsWith("%PDF-"));
}

TEST_F(MeterProgramTest, AnExportOnStandardOutputEndsItsLine)
{
    const std::string sound = write("mix.wav", {sine(1000, 0.5, 48000, 12 * 48000)});
    const auto outcome = meter({"--csv", "-", sound});
    ASSERT_EQ(outcome.status, 0) << outcome.error;
    EXPECT_THAT(outcome.output,
                testing::ContainsRegex("\n[0-9-]+,1,0.0[0-9],85.0,88.0,0,0,0\n" + sound + "\n"));
    EXPECT_EQ(meter({"--report", "-", sound}).error, "velmor-meter: --report: a PDF goes to a file\n");
}

TEST_F(MeterProgramTest, AFileNameThatIsNoUtf8IsMendedInEveryExport)
{
    const std::string sound = write("Abh\xF6rraum.wav", {sine(1000, 0.5, 48000, 12 * 48000)});
    const std::string csv = folder / "session.csv";
    ASSERT_EQ(meter({"--csv", csv, sound}).status, 0);
    EXPECT_THAT(contentOf(csv), HasSubstr(",Abh\uFFFDrraum.wav,"));
}

TEST_F(MeterProgramTest, ASessionThatCanNotBeKeptIsAnErrorAfterTheFigures)
{
    const std::string sound = write("mix.wav", {sine(1000, 0.5, 48000, 48000)});
    std::filesystem::create_directories(folder / "history/sessions.json");
    const auto outcome = meter({"--json", "--history", folder / "history", sound});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(JsonObject(outcome.output)["frames"], 48000);
    EXPECT_THAT(outcome.error, HasSubstr("Failed to save session history: Is a directory\n"));
    EXPECT_THAT(outcome.error, EndsWith("history: the session could not be kept there\n"));
}

} // namespace
} // namespace velmor
