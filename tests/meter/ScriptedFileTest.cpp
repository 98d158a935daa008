// SPDX-License-Identifier: GPL-3.0-or-later
// Two hours of tones whose level follows a script, through velmor-meter. What must come out is worked out
// here from the script and the formulas of the weighting curves. Levels change along straight lines in
// decibels, slowly enough for the filters to follow, and 1024 frames at 32 kHz hold whole periods, so that
// each block has the level that the integral over it gives.
#include <support/Meter.h>
#include <support/Sound.h>
#include <support/TemporaryFolder.h>

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <map>
#include <numbers>
#include <optional>
#include <string>
#include <vector>

namespace velmor {
namespace {

constexpr int sampleRate = 32000;
constexpr int blockFrames = 1024;
constexpr double blockSeconds = 0.032;
constexpr int blocksAMinute = 1875;
constexpr double offset = 140;
constexpr int ticks = 72000; // two hours

constexpr double middle = 1000; ///< Hz: both weightings are 0 dB.
constexpr double bass = 31.25;  ///< Hz: one period a block.
constexpr double nothing = 20;  ///< dB: silence, as far as anybody listens.

/// A tone that goes from one level to another, before weighting.
struct Stretch
{
    int blocks;
    double from;
    double to;
    double frequency = middle;
};

/// Mixing on target; an hour far too loud; a break; mixing again, with ten seconds of bass whose peaks
/// are impulses and a moment at 113 dBA; silence.
std::vector<Stretch> script()
{
    const auto minutesTo = [](std::vector<Stretch>& stretches, int minute) {
        int blocks = 0;
        for (const Stretch& stretch : stretches)
            blocks += stretch.blocks;
        const double level = stretches.empty() ? 79 : stretches.back().to;
        stretches.push_back({minute * blocksAMinute - blocks, level, level});
    };
    std::vector<Stretch> stretches;
    minutesTo(stretches, 20);
    stretches.push_back({50, 79, 91});
    minutesTo(stretches, 80);
    stretches.push_back({50, 91, 60});
    minutesTo(stretches, 81);
    stretches.push_back({50, 60, 85});
    minutesTo(stretches, 90);
    stretches.push_back({300, 85, nothing});
    stretches.push_back({300, nothing, 136.5, bass});
    stretches.push_back({300, 136.5, 136.5, bass});
    stretches.push_back({300, 136.5, nothing, bass});
    stretches.push_back({300, nothing, 85});
    minutesTo(stretches, 95);
    stretches.push_back({50, 85, 113});
    stretches.push_back({25, 113, 113});
    stretches.push_back({50, 113, 85});
    minutesTo(stretches, 111);
    stretches.push_back({300, 85, nothing});
    minutesTo(stretches, 120);
    return stretches;
}

void writeScript(const std::string& path)
{
    SF_INFO info = {};
    info.samplerate = sampleRate;
    info.channels = 1;
    info.format = SF_FORMAT_W64 | SF_FORMAT_FLOAT;
    SNDFILE* file = ::sf_open(path.c_str(), SFM_WRITE, &info);
    for (const Stretch& stretch : script()) {
        auto tone = test::sine(stretch.frequency, std::numbers::sqrt2, sampleRate, blockFrames);
        const double step = (stretch.to - stretch.from) / (stretch.blocks * blockFrames);
        for (int block = 0; block < stretch.blocks; ++block) {
            auto samples = tone;
            double level = stretch.from + step * block * blockFrames - offset;
            double gain = std::pow(10, level / 20);
            const double gainStep = std::pow(10, step / 20);
            for (float& sample : samples) {
                sample *= static_cast<float>(gain);
                gain *= gainStep;
            }
            ::sf_write_float(file, samples.data(), blockFrames);
        }
    }
    ::sf_close(file);
}

/// The curves of IEC 61672-1, annex E, as filters at this rate draw them: each corner is warped by the
/// bilinear transform, and 1 kHz is 0 dB. \return dB
double weighting(double frequency, bool isA)
{
    const auto gain = [isA](double f) {
        // Of a high pass and a low pass of the first order.
        const auto ratio = [f](double corner) {
            return std::tan(std::numbers::pi * f / sampleRate) /
                   std::tan(std::numbers::pi * corner / sampleRate);
        };
        const auto high = [&](double corner) { return ratio(corner) / std::hypot(1, ratio(corner)); };
        const auto low = [&](double corner) { return 1 / std::hypot(1, ratio(corner)); };
        double value = std::pow(high(20.598997), 2) * std::pow(low(12194.217), 2);
        if (isA)
            value *= high(107.65265) * high(737.86223);
        return 20 * std::log10(value);
    };
    return gain(frequency) - gain(1000);
}

/// Levels of a block, in dB: the mean A-weighted one, and the peaks.
struct Block
{
    double dBA;
    double peakDBA;
    double peakDBC;
};

std::vector<Block> blocksOfScript()
{
    std::vector<Block> blocks;
    for (const Stretch& stretch : script()) {
        const double a = weighting(stretch.frequency, true);
        const double c = weighting(stretch.frequency, false);
        const double crest = 10 * std::log10(2.0);
        for (int i = 0; i < stretch.blocks; ++i) {
            const double begin = stretch.from + (stretch.to - stretch.from) * i / stretch.blocks;
            const double end = stretch.from + (stretch.to - stretch.from) * (i + 1) / stretch.blocks;
            // The mean of 10^(L/10) along the line.
            const double slope = (end - begin) * std::numbers::ln10 / 10;
            const double mean = begin + (slope != 0 ? 10 * std::log10(std::expm1(slope) / slope) : 0);
            const double highest = std::max(begin, end) + crest;
            blocks.push_back({mean + a, highest + a, highest + c});
        }
    }
    return blocks;
}

/// What the accounting makes of the script, step by step, as its documentation says.
struct Theory
{
    Theory()
    {
        const std::vector<Block> blocks = blocksOfScript();
        double smoothed = 0;
        std::size_t next = 0;
        for (int i = 1; i <= ticks; ++i) {
            // The blocks that have ended by this tick.
            while (next < blocks.size() && static_cast<double>(next + 1) * blockSeconds <= i * 0.1 + 1e-9)
                smoothed = 0.3 * std::clamp(blocks[next++].dBA, 0.0, 140.0) + 0.7 * smoothed;
            takeTick(i, smoothed, blocks[next - 1]);
        }
        dose *= 100;
        notify(ticks, "session-recap");
    }

    void takeTick(int i, double spl, const Block& block)
    {
        if (block.peakDBC >= 135) {
            ++peakCount135;
            if (peakCount135 == 1) // for 10 seconds: within the limit of 30
                notify(i, "peak-alert");
        }
        if (block.peakDBA >= 115) {
            ++peakDBACount115;
            if (peakDBACount115 == 1)
                notify(i, "instantaneous-peak");
        }
        peakDBC = std::max(peakDBC, block.peakDBC);
        peakSPL = std::max(peakSPL, spl);

        const double before = dose;
        if (spl >= 80 && i > 1)
            dose += 0.1 / (8 * 3600 / std::pow(2, (spl - 85) / 3));
        if (before < 0.4 && dose >= 0.4)
            notify(i, "dose-caution");
        levels.push_back(spl);
        energySums.push_back(energySums.back() + std::pow(10.0L, static_cast<long double>(spl) / 10));

        if (spl < 50 || spl < 79 - 3 - 12)
            silent += 0.1;
        else if (spl < 76)
            under += 0.1;
        else if (spl <= 82)
            onTarget += 0.1;
        else
            over += 0.1;

        if (spl < 90) {
            loudSince.reset();
        } else if (!loudSince) {
            loudSince = i;
        } else if (i - *loudSince >= 6000) {
            notify(i, "sustained-spl");
            loudSince = i;
        }
        if (i % 10 == 0)
            evaluateAlerts(i, spl);
    }

    /// The energy mean of the last so many ticks.
    std::optional<double> leq(std::size_t count) const
    {
        if (levels.size() < count)
            return std::nullopt;
        const long double sum = energySums.back() - energySums[energySums.size() - 1 - count];
        return static_cast<double>(10 * std::log10(sum / static_cast<long double>(count)));
    }

    /// The level that is exceeded for a share of the last half hour.
    double exceededFor(double share) const
    {
        std::vector<double> sorted(levels.end() - 18000, levels.end());
        std::ranges::sort(sorted);
        return sorted[static_cast<std::size_t>(std::round((1 - share) * 17999))];
    }

    void evaluateAlerts(int i, double spl)
    {
        if (!hasDrifted) {
            if (!baseline) {
                baseline = i >= 6000 ? leq(18000) : std::nullopt;
            } else if (*leq(18000) - *baseline < 3) {
                raisedSince.reset();
            } else {
                raisedSince = raisedSince.value_or(i);
                hasDrifted = i - *raisedSince >= 3000;
                if (hasDrifted)
                    notify(i, "monitoring-drift");
            }
        }
        // The alert band is 79 dBA and 5 dB to each side, the window 15 minutes.
        window.push_back({i, spl < 62 ? 0 : spl < 74 ? 1 : spl <= 84 ? 2 : 3});
        while (i - window.front().first > 9000)
            window.pop_front();
        const auto count = [&](int zone) {
            return static_cast<double>(std::ranges::count(window, zone, &std::pair<int, int>::second));
        };
        const double sounding = static_cast<double>(window.size()) - count(0);
        if (!isOffTarget && i >= 9000 && sounding / static_cast<double>(window.size()) >= 0.5 &&
            (count(1) + count(3)) / sounding >= 0.9) {
            isOffTarget = true;
            notify(i, "monitoring-offtarget");
        }
    }

    void notify(int tick, const std::string& kind) { notifications[kind].push_back(tick * 0.1); }

    double dose = 0;
    std::vector<double> levels;
    std::vector<long double> energySums = {0};
    double peakSPL = 0;
    double peakDBC = 0;
    int peakCount135 = 0;
    int peakDBACount115 = 0;
    double silent = 0;
    double under = 0;
    double onTarget = 0;
    double over = 0;
    std::optional<int> loudSince;
    std::optional<double> baseline;
    std::optional<int> raisedSince;
    bool hasDrifted = false;
    bool isOffTarget = false;
    std::deque<std::pair<int, int>> window;
    std::map<std::string, std::vector<double>> notifications;
};

TEST(ScriptedFile, GivesTheFiguresAndNotificationsThatTheoryGives)
{
    const test::TemporaryFolder folder;
    const std::string path = folder / "script.w64";
    writeScript(path);
    const auto outcome =
        test::meter({"--json", "--offset", "140", "--start", "2026-03-02T09:00:00Z", "--time-zone", "UTC",
                     "--history", folder / "history", "--notifications", folder / "notifications", path});
    ASSERT_EQ(outcome.status, 0) << outcome.error;
    const test::JsonObject json(outcome.output);
    const Theory theory;

    // By hand: 50 % for an hour at 91 dBA, 6.25 % for half an hour at 85 dBA, and a little for the bass
    // and the moment at 113 dBA.
    EXPECT_NEAR(theory.dose, 60, 3);
    EXPECT_NEAR(json["dosePercentage"], theory.dose, 0.01);
    EXPECT_NEAR(json["session.doseAccumulated"], theory.dose, 0.01);
    EXPECT_NEAR(json["session.averageSPL"], theory.leq(ticks).value(), 0.01);
    EXPECT_NEAR(json["session.peakSPL"], theory.peakSPL, 0.01);
    EXPECT_NEAR(theory.peakDBC, 136.5 + 3.01 - 3.1, 0.02); // C at 31.25 Hz
    EXPECT_NEAR(json["session.peakDBC"], theory.peakDBC, 0.01);
    EXPECT_NEAR(json["todayPeakDBC"], theory.peakDBC, 0.01);
    // At the edges of a burst a filter's delay may move a tick across the limit.
    EXPECT_NEAR(json["peakCount135"], theory.peakCount135, 2);
    EXPECT_EQ(json["session.peakCount135"], json["peakCount135"]);
    EXPECT_EQ(json["peakCount137"], 0);
    EXPECT_EQ(json["session.peakCount140"], 0);
    EXPECT_NEAR(json["session.peakDBACount115"], theory.peakDBACount115, 1);
    EXPECT_NEAR(theory.peakDBACount115, 9, 1); // 0.8 s and the edges

    EXPECT_NEAR(json["leq1min"], theory.leq(600).value(), 0.01);
    EXPECT_NEAR(json["leq10min"], theory.leq(6000).value(), 0.01);
    EXPECT_NEAR(json["leq30min"], theory.leq(18000).value(), 0.01);
    // 20 of the last 30 minutes at 85 dBA, 9 of silence.
    EXPECT_NEAR(theory.exceededFor(0.5), 85, 1e-6);
    EXPECT_NEAR(json["l10"], theory.exceededFor(0.1), 0.01);
    EXPECT_NEAR(json["l50"], 85, 0.01);
    EXPECT_NEAR(json["l90"], 20, 0.01);

    constexpr double hundredthPercent = 0.0001 * ticks * 0.1; // 0.72 s
    EXPECT_NEAR(json["session.timeSilentSec"], theory.silent, hundredthPercent);
    EXPECT_NEAR(json["session.timeUnderSec"], theory.under, hundredthPercent);
    EXPECT_NEAR(json["session.timeOnTargetSec"], theory.onTarget, hundredthPercent);
    EXPECT_NEAR(json["session.timeOverSec"], theory.over, hundredthPercent);
    EXPECT_NEAR(json["session.onTargetPercentage"],
                100 * theory.onTarget / (theory.under + theory.onTarget + theory.over), 0.01);
    EXPECT_NEAR(json["session.onTargetPercentage"], 18.1, 0.3); // 20 of 110 minutes
    EXPECT_EQ(json["session.readingCount"], 720);
    EXPECT_EQ(json.texts.at("session.startDate"), "2026-03-02T09:00:00Z");
    EXPECT_EQ(json.texts.at("session.endDate"), "2026-03-02T11:00:00Z");
    EXPECT_EQ(json.texts.at("session.dawName"), "script.w64");

    std::map<std::string, std::vector<double>> posted;
    for (const auto& line : test::jsonLines(test::contentOf(folder / "notifications"))) {
        std::string kind = line.texts.at("identifier");
        const auto stamp = kind.find_last_not_of("0123456789.");
        posted[kind.substr(0, stamp + 1 - (kind[stamp] == '-' ? 1 : 0))].push_back(line["t"]);
    }
    for (const auto& [kind, times] : theory.notifications) {
        ASSERT_EQ(posted[kind].size(), times.size()) << kind;
        for (std::size_t i = 0; i < times.size(); ++i)
            EXPECT_NEAR(posted[kind][i], times[i], 0.101) << kind; // a tick
    }
    EXPECT_EQ(posted.size(), theory.notifications.size());
    // Minutes: sustained at 91 dBA from 20 to 80, the band of 40 % at 68, drift after half an hour.
    EXPECT_EQ(posted["sustained-spl"].size(), 5U);
    EXPECT_NEAR(posted["dose-caution"].at(0) / 60, 68, 0.1);
    EXPECT_NEAR(posted["peak-alert"].at(0) / 60, 90.3, 0.1);
    EXPECT_NEAR(posted["instantaneous-peak"].at(0) / 60, 95, 0.1);
}

} // namespace
} // namespace velmor
