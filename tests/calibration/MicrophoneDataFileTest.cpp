// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/FilterCheck.h>
#include <calibration/MicrophoneDataFile.h>
#include <support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace velmor {
namespace {

using Point = MicrophoneData::Point;

std::string problemOf(const std::string& text)
{
    try {
        parseMicrophoneData(text);
        return "none";
    } catch (const MicrophoneDataError& error) {
        return error.what();
    }
}

TEST(MicrophoneData, ReadsColumnsPartedByBlanksTabsCommasOrSemicolons)
{
    const std::vector<Point> expected = {{20, -1.5}, {1000, 0}, {20000, 2.25}};
    for (const char* text : {"20 -1.5\n1000 0\n20000 2.25\n", "20\t-1.5\t45\n1000\t0.0\t0\n20000\t+2.25\t-90",
                             "20, -1.5\r\n1000, 0\r\n20000, 2.25\r\n", "20,-1.5,1\n1e3,0,1\n2e4,2.25,1",
                             "20;-1,5;0\n1000;0;0\n20000;2,25;3", "  20.0   -1.5  \n\n 1000 0\n 20000 2.25 ",
                             "\xEF\xBB\xBF"
                             "20\t-1,5\n1000\t0\n20000\t2,25\t"})
        EXPECT_EQ(parseMicrophoneData(text).points, expected) << text;
}

TEST(MicrophoneData, LinesThatBeginWithNoNumberAreComments)
{
    const auto data =
        parseMicrophoneData("* a comment\n# 5 6\n\"Freq\" \"dB\"\n; x\n\n// y\n20 1\n8000 2\nend\n");
    EXPECT_EQ(data.points, (std::vector<Point>{{20, 1}, {8000, 2}}));
    EXPECT_EQ(data.sensFactorDB, std::nullopt);
}

TEST(MicrophoneData, ReadsTheSensFactor)
{
    const auto factorOf = [](const std::string& line) {
        return parseMicrophoneData(line + "\n20 1\n8000 2").sensFactorDB;
    };
    EXPECT_EQ(factorOf("\"Sens Factor =-1.378dB, SERNO: 7023270\""), -1.378);
    EXPECT_EQ(factorOf("Sens Factor =-.5dB, AGain =18dB"), -0.5);
    EXPECT_EQ(factorOf("SENS FACTOR: +2 dB"), 2);
    EXPECT_EQ(factorOf("Sens Factor unknown"), std::nullopt);
    EXPECT_EQ(factorOf("Sens Factor =-1,2dB"), std::nullopt);
}

TEST(MicrophoneData, WhatMakesNoSenseIsRefusedWithItsLine)
{
    const std::string notNumbers = "not a frequency, a gain and perhaps a phase";
    EXPECT_EQ(problemOf(""), "fewer than two lines with a frequency and a gain");
    EXPECT_EQ(problemOf("20 1\n"), "fewer than two lines with a frequency and a gain");
    EXPECT_EQ(problemOf("20\n8000 1\n"), "line 1: a frequency without a gain");
    EXPECT_EQ(problemOf("20 1\n8000 1 2 3\n"), "line 2: more than a frequency, a gain and a phase");
    EXPECT_EQ(problemOf("20 1\n8000 1 2\n"), "line 2: another number of columns than before");
    EXPECT_EQ(problemOf("* x\n20 1\n8000 one\n"), "line 3: " + notNumbers);
    EXPECT_EQ(problemOf("20 1\n20 2\n"), "line 2: the frequency is not above the one before it");
    EXPECT_EQ(problemOf("40 1\n20 2\n"), "line 2: the frequency is not above the one before it");
    EXPECT_EQ(problemOf("0 1\n8000 2\n"), "line 1: a frequency that no microphone hears");
    EXPECT_EQ(problemOf("1e-50 0\n8000 0\n"), "line 1: a frequency that no microphone hears");
    EXPECT_EQ(problemOf("-20 1\n8000 2\n"), "line 1: a frequency that no microphone hears");
    EXPECT_EQ(problemOf("20 1\n2e6 2\n"), "line 2: a frequency that no microphone hears");
    EXPECT_EQ(problemOf("20 101\n8000 2\n"), "line 1: a gain beyond 100 dB");
    EXPECT_EQ(problemOf("20 1e999\n8000 2\n"), "line 1: " + notNumbers);
    EXPECT_EQ(problemOf("20,,1\n8000 2\n"), "line 1: " + notNumbers);
}

TEST(MicrophoneData, FrequenciesInAnotherUnitAreRefused)
{
    const std::string reason = "doesn't reach from 1 kHz to 5 kHz: are its frequencies in Hz?";
    EXPECT_EQ(problemOf("Freq (kHz)\n1 0\n20 2\n"), reason);
    EXPECT_EQ(problemOf("20 0\n4999 2\n"), reason);
    EXPECT_EQ(problemOf("1001 0\n20000 2\n"), reason);
    // A comma for thousands, beside tabs.
    EXPECT_EQ(problemOf("1,000\t0.1\n20,000\t2\n"), reason);
}

// "20 -0,3" would be 20 Hz, "-0" and a phase of 3 to one who parts columns at commas.
TEST(MicrophoneData, ACommaThatMayBeADecimalOneIsNotGuessedAt)
{
    EXPECT_EQ(problemOf("20 -0,3\n8000 0,1\n"), "line 1: not a frequency, a gain and perhaps a phase");
    const std::string ambiguous =
        "commas part the columns and may be decimal ones as well: write decimals with points";
    EXPECT_EQ(problemOf("20,-0,3\n8000,1,5\n"), ambiguous);
    EXPECT_EQ(problemOf("20,-0.3,3\n8000,1.5,5\n"), "none");
    EXPECT_EQ(problemOf("20,-1,-3\n8000,1,5\n"), "none");
    EXPECT_EQ(problemOf("20,-1\n8000,1\n"), "none");
}

TEST(MicrophoneData, ReadsAFileAndSaysWhyItCannot)
{
    const test::TemporaryFolder folder;
    test::writeFile(folder / "mic.txt", "20 1\n8000 2\n");
    EXPECT_EQ(readMicrophoneData(folder / "mic.txt").points.size(), 2U);
    EXPECT_THROW(readMicrophoneData(folder / "none.txt"), MicrophoneDataError);
    EXPECT_THROW(readMicrophoneData(folder.path()), MicrophoneDataError);
    test::writeFile(folder / "large.txt", std::string(1024 * 1024 + 1, '#'));
    EXPECT_THROW(readMicrophoneData(folder / "large.txt"), MicrophoneDataError);
}

const Date day = dateFromIsoText("2026-03-02T09:00:00Z").value();

TEST(MicrophoneCorrection, IsTheInverseOfTheResponseWithinThreeTenthsOfADecibelWhere128TapsReach)
{
    // A gentle presence lift, as capsules have it.
    const MicrophoneData data{
        {{20, 0}, {1000, 0}, {2000, 0.5}, {4000, 1.5}, {8000, 3.5}, {12000, 5}, {16000, 4}, {20000, 1}}, {}};
    for (const double rate : {44100.0, 48000.0, 96000.0}) {
        const auto profile = correctionOf(data, rate, day);
        EXPECT_EQ(profile.taps.size(), 128U);
        EXPECT_EQ(profile.sampleRate, rate);
        EXPECT_EQ(profile.measuredDate, day);
        for (const auto& [frequency, gain] :
             {std::pair(1000.0, 0.0), std::pair(2000.0, 0.5), std::pair(4000.0, 1.5), std::pair(8000.0, 3.5),
              std::pair(12000.0, 5.0)})
            EXPECT_NEAR(filterGainDB(profile.taps, rate, frequency), -gain, 0.3)
                << frequency << " at " << rate;
        EXPECT_LT(filterDeparture(profile), 1.0);
    }
}

TEST(MicrophoneCorrection, At1KilohertzTheFilterChangesNothing)
{
    // Also of data that aren't relative to 1 kHz, as sensitivities in dB re 1 V/Pa.
    for (const double reference : {0.0, -2.0, -38.0}) {
        const MicrophoneData data{{{100, reference + 2}, {1000, reference}, {10000, reference + 3}}, {}};
        const auto profile = correctionOf(data, 48000, day);
        EXPECT_NEAR(filterGainDB(profile.taps, 48000, 1000), 0, 1e-4) << reference;
        EXPECT_NEAR(filterGainDB(profile.taps, 48000, 10000), -3, 0.3) << reference;
    }
}

TEST(MicrophoneCorrection, IsLimitedAndFadedOutAsAMeasuredOneIs)
{
    const MicrophoneData data{{{20, -30}, {500, -30}, {1000, 0}, {4000, -30}, {20000, -30}}, {}};
    const auto profile = correctionOf(data, 48000, day);
    EXPECT_EQ(profile.correctionCurve.front().gainDB, 0.0F);
    for (const auto& point : profile.correctionCurve)
        EXPECT_LE(point.gainDB, 9.0001F);
    EXPECT_NEAR(curveGainDB(profile.correctionCurve, 8000), 9, 1e-3);
}

TEST(MicrophoneCorrection, OfAFlatResponseChangesNothing)
{
    const auto profile = correctionOf({{{20, 0}, {20000, 0}}, {}}, 48000, day);
    EXPECT_NEAR(static_cast<double>(profile.taps[64]), 1, 1e-6);
    EXPECT_LT(filterDeparture(profile), 1e-4);
}

TEST(MicrophoneCorrection, ADipThatIsTooNarrowIsToldByItsDeparture)
{
    const MicrophoneData data{{{20, 0}, {1900, 0}, {2000, -9}, {2100, 0}, {20000, 0}}, {}};
    EXPECT_GT(filterDeparture(correctionOf(data, 48000, day)), largestFilterDeparture);
}

} // namespace
} // namespace velmor
