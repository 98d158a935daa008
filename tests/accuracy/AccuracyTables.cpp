// SPDX-License-Identifier: GPL-3.0-or-later
// Prints how far the measurement is from what the standards ask for: the weighting filters from the curves of
// IEC 61672-1, the dose from NIOSH's table, equivalent and percentile levels from closed forms. All of it is
// measured on the code that measures, not computed from its coefficients.
#include <base/VirtualMainLoop.h>
#include <exposure/DoseCalculator.h>
#include <exposure/LeqStatisticsService.h>
#include <level/AWeightingFilter.h>
#include <level/CWeightingFilter.h>
#include <platform/MemoryDefaultsStore.h>
#include <support/Sound.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <functional>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

namespace velmor {
namespace {

using std::numbers::pi;

double decibels(double ratio)
{
    return 20 * std::log10(ratio);
}

constexpr double unlimited = std::numeric_limits<double>::infinity();

struct ThirdOctave
{
    const char* nominal;
    double upper; ///< Acceptance limits of class 1, dB: IEC 61672-1:2013, table 3.
    double lower;
};

/// From 10 Hz on, each ten to the tenth times the one before.
constexpr std::array<ThirdOctave, 34> thirdOctaves = {{
    {"10", 3.0, -unlimited}, {"12.5", 2.5, -unlimited},  {"16", 2.0, -4.0},    {"20", 2.0, -2.0},
    {"25", 2.0, -1.5},       {"31.5", 1.5, -1.5},        {"40", 1.0, -1.0},    {"50", 1.0, -1.0},
    {"63", 1.0, -1.0},       {"80", 1.0, -1.0},          {"100", 1.0, -1.0},   {"125", 1.0, -1.0},
    {"160", 1.0, -1.0},      {"200", 1.0, -1.0},         {"250", 1.0, -1.0},   {"315", 1.0, -1.0},
    {"400", 1.0, -1.0},      {"500", 1.0, -1.0},         {"630", 1.0, -1.0},   {"800", 1.0, -1.0},
    {"1000", 0.7, -0.7},     {"1250", 1.0, -1.0},        {"1600", 1.0, -1.0},  {"2000", 1.0, -1.0},
    {"2500", 1.0, -1.0},     {"3150", 1.0, -1.0},        {"4000", 1.0, -1.0},  {"5000", 1.5, -1.5},
    {"6300", 1.5, -2.0},     {"8000", 1.5, -2.5},        {"10000", 2.0, -3.0}, {"12500", 2.0, -5.0},
    {"16000", 2.5, -16.0},   {"20000", 3.0, -unlimited},
}};

constexpr std::array sampleRates = {44100.0, 48000.0, 88200.0, 96000.0, 192000.0};

/// IEC 61672-1, annex E: the curves in closed form, without the constant that has them at 0 dB at 1 kHz.
double cCurve(double f)
{
    constexpr double low = 20.598997;
    constexpr double high = 12194.217;
    return high * high * f * f / ((f * f + low * low) * (f * f + high * high));
}

double aCurve(double f)
{
    constexpr double second = 107.65265;
    constexpr double third = 737.86223;
    return cCurve(f) * f * f / std::sqrt((f * f + second * second) * (f * f + third * third));
}

/// dB that a filter adds to a settled tone, from its samples.
template <typename Filter>
double measuredGain(double frequency, double sampleRate)
{
    constexpr double amplitude = 0.5;
    Filter filter(sampleRate);
    // The lowest corner has died away after a second; then whole seconds, under a window that keeps out what
    // a part of a period would add.
    const auto settle = static_cast<std::size_t>(sampleRate);
    const auto length = static_cast<std::size_t>(2 * sampleRate);
    auto samples = test::sine(frequency, amplitude, sampleRate, settle + length);
    filter.process(samples);
    std::complex<double> sum = 0;
    double weights = 0;
    for (std::size_t i = 0; i < length; ++i) {
        const double window =
            0.5 - 0.5 * std::cos(2 * pi * static_cast<double>(i) / static_cast<double>(length));
        const double phase = 2 * pi * frequency * static_cast<double>(settle + i) / sampleRate;
        sum += window * static_cast<double>(samples[settle + i]) * std::polar(1.0, -phase);
        weights += window;
    }
    return decibels(2 * std::abs(sum) / weights / amplitude);
}

/// Two decimals, and no "-0.00".
std::string hundredths(double value)
{
    const double rounded = std::round(value * 100) / 100;
    return fmt::format("{:+.2f}", rounded == 0 ? 0.0 : rounded);
}

std::string limits(const ThirdOctave& band)
{
    const std::string lower = std::isinf(band.lower) ? "−∞" : fmt::format("{:.1f}", band.lower);
    return fmt::format("+{:.1f}, {}", band.upper, lower);
}

/// \return whether all deviations are within the limits.
template <typename Filter>
bool printWeighting(const char* name, double (*curve)(double))
{
    bool isWithin = true;
    fmt::print("| {}, Hz | design goal, dB | class 1, dB |", name);
    for (const double rate : sampleRates)
        fmt::print(" {:.1f} kHz |", rate / 1000);
    fmt::print("\n|---|---|---|---|---|---|---|---|\n");
    for (std::size_t i = 0; i < thirdOctaves.size(); ++i) {
        const ThirdOctave& band = thirdOctaves.at(i);
        const double frequency = std::pow(10, 1 + static_cast<double>(i) / 10);
        const double goal = decibels(curve(frequency) / curve(1000));
        fmt::print("| {} | {:.2f} | {} |", band.nominal, goal == 0 ? 0 : goal, limits(band));
        for (const double rate : sampleRates) {
            const double deviation = measuredGain<Filter>(frequency, rate) - goal;
            const bool isInBand = deviation <= band.upper && deviation >= band.lower;
            isWithin = isWithin && isInBand;
            fmt::print(" {}{} |", hundredths(deviation), isInBand ? "" : " **beyond**");
        }
        fmt::print("\n");
    }
    fmt::print("\n");
    return isWithin;
}

struct NioshRow
{
    int level; ///< dBA
    int seconds;
};

constexpr int allowed(int hours, int minutes, int seconds)
{
    return (hours * 60 + minutes) * 60 + seconds;
}

/// NIOSH 98-126, table 1-1, from the threshold to the ceiling.
constexpr std::array<NioshRow, 36> nioshTable = {{
    {80, allowed(25, 24, 0)}, {81, allowed(20, 10, 0)},  {82, allowed(16, 0, 0)},  {83, allowed(12, 42, 0)},
    {84, allowed(10, 5, 0)},  {85, allowed(8, 0, 0)},    {86, allowed(6, 21, 0)},  {87, allowed(5, 2, 0)},
    {88, allowed(4, 0, 0)},   {89, allowed(3, 10, 0)},   {90, allowed(2, 31, 0)},  {91, allowed(2, 0, 0)},
    {92, allowed(1, 35, 0)},  {93, allowed(1, 16, 0)},   {94, allowed(1, 0, 0)},   {95, allowed(0, 47, 37)},
    {96, allowed(0, 37, 48)}, {97, allowed(0, 30, 0)},   {98, allowed(0, 23, 49)}, {99, allowed(0, 18, 59)},
    {100, allowed(0, 15, 0)}, {101, allowed(0, 11, 54)}, {102, allowed(0, 9, 27)}, {103, allowed(0, 7, 30)},
    {104, allowed(0, 5, 57)}, {105, allowed(0, 4, 43)},  {106, allowed(0, 3, 45)}, {107, allowed(0, 2, 59)},
    {108, allowed(0, 2, 22)}, {109, allowed(0, 1, 53)},  {110, allowed(0, 1, 29)}, {111, allowed(0, 1, 11)},
    {112, allowed(0, 0, 56)}, {113, allowed(0, 0, 45)},  {114, allowed(0, 0, 35)}, {115, allowed(0, 0, 28)},
}};

/// Percent after so many seconds at a level, measured ten times a second.
double doseAfter(double level, int seconds)
{
    const Date start = dateFromIsoText("2026-03-02T00:00:00Z").value();
    VirtualMainLoop loop(start);
    MemoryDefaultsStore defaults;
    const Calendar calendar = Calendar::inZone("UTC").value();
    DoseCalculator dose(loop, defaults, calendar);
    for (int tick = 0; tick <= 10 * seconds; ++tick) {
        dose.addMeasurement(level, level, 0, 0, start + std::chrono::milliseconds(100) * tick);
        loop.runPosted();
    }
    return 100 * dose.accumulatedDose;
}

/// \return whether each dose is 100 % but for the rounding of the table's times.
bool printDose()
{
    bool isWithin = true;
    fmt::print("| level, dBA | time in the table | time by the formula | dose after the table's time, % | "
               "scaled to the formula's time, % |\n|---|---|---|---|---|\n");
    for (const auto& [level, seconds] : nioshTable) {
        // NIOSH 98-126, 1.1.1.
        const double exact = 28800 / std::pow(2, (level - 85) / 3.0);
        const double dose = doseAfter(level, seconds);
        const double scaled = dose * exact / seconds;
        isWithin =
            isWithin && std::abs(dose - 100.0 * seconds / exact) < 0.005 && std::abs(scaled - 100) < 0.005;
        fmt::print("| {} | {}:{:02}:{:02} | {:.1f} s | {:.2f} | {:.3f} |\n", level, seconds / 3600,
                   seconds / 60 % 60, seconds % 60, exact, dose, scaled);
    }
    fmt::print("\n");
    return isWithin;
}

struct LevelCourse
{
    const char* name;
    double (*level)(double part);      ///< dB, at a part of the window from 0 to 1.
    double leq;                        ///< dB, by closed form.
    std::array<double, 3> percentiles; ///< L10, L50 and L90, likewise.
};

constexpr double tenOverLn10 = 4.342944819032518;

std::vector<LevelCourse> courses()
{
    const double ramp = tenOverLn10 * std::log(tenOverLn10 * (std::pow(10, 9) - std::pow(10, 6)) / 30);
    // The mean of 10^(A sin(x)/10) over a period is the modified Bessel function of order 0 at A ln(10)/10.
    const double wave = 80 + 10 * std::log10(std::cyl_bessel_i(0, 10 / tenOverLn10));
    const double sineTenth = 10 * std::sin(pi * 0.4);
    return {
        {"steady at 79 dB", [](double) { return 79.0; }, 79, {79, 79, 79}},
        {"three fifths at 70, then 90 dB",
         [](double part) { return part < 0.6 ? 70.0 : 90.0; },
         10 * std::log10((3 * std::pow(10, 7) + 2 * std::pow(10, 9)) / 5),
         {90, 70, 70}},
        {"a fifth at 100, then 60 dB",
         [](double part) { return part < 0.2 ? 100.0 : 60.0; },
         10 * std::log10((std::pow(10, 10) + 4 * std::pow(10, 6)) / 5),
         {100, 60, 60}},
        {"a ramp from 60 to 90 dB", [](double part) { return 60 + 30 * part; }, ramp, {87, 75, 63}},
        {"80 dB ± 10 dB as a sine",
         [](double part) { return 80 + 10 * std::sin(2 * pi * part); },
         wave,
         {80 + sineTenth, 80, 80 - sineTenth}},
    };
}

/// \return whether all are within a hundredth of a dB.
bool printLeq()
{
    bool isWithin = true;
    fmt::print(
        "| course of the level | closed form, dB | Leq 1 min | Leq 10 min | Leq 30 min | L10 | L50 | L90 |\n"
        "|---|---|---|---|---|---|---|---|\n");
    for (const LevelCourse& course : courses()) {
        std::string row = fmt::format("| {} | {:.2f} |", course.name, course.leq);
        std::array<double, 3> percentiles{};
        for (const int minutes : {1, 10, 30}) {
            LeqStatisticsService leq(10);
            const int count = minutes * 600;
            // What is older than the window has no part in it.
            for (int i = 0; i < 600; ++i)
                leq.addReading(120);
            for (int i = 0; i < count; ++i)
                leq.addReading(course.level((i + 0.5) / count));
            const double found = (minutes == 1    ? leq.leq1min
                                  : minutes == 10 ? leq.leq10min
                                                  : leq.leq30min)
                                     .get()
                                     .value();
            row += fmt::format(" {} |", hundredths(found - course.leq));
            isWithin = isWithin && std::abs(found - course.leq) < 0.01;
            percentiles = {leq.l10.get().value(), leq.l50.get().value(), leq.l90.get().value()};
        }
        for (std::size_t i = 0; i < percentiles.size(); ++i) {
            row += fmt::format(" {} |", hundredths(percentiles.at(i) - course.percentiles.at(i)));
            isWithin = isWithin && std::abs(percentiles.at(i) - course.percentiles.at(i)) < 0.01;
        }
        fmt::print("{}\n", row);
    }
    return isWithin;
}

} // namespace
} // namespace velmor

int main()
{
    using namespace velmor;
    const bool isAWithin = printWeighting<AWeightingFilter>("A", aCurve);
    const bool isCWithin = printWeighting<CWeightingFilter>("C", cCurve);
    const bool isDoseWithin = printDose();
    const bool isLeqWithin = printLeq();
    return isAWithin && isCWithin && isDoseWithin && isLeqWithin ? EXIT_SUCCESS : EXIT_FAILURE;
}
