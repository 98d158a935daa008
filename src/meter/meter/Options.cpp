// SPDX-License-Identifier: GPL-3.0-or-later
#include <meter/Options.h>

#include <calibration/PinkNoisePlayer.h>
#include <meter/MeterError.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <system_error>

namespace velmor {

namespace {

/// Leaves room for the longest recording before dates end in 2262.
constexpr auto latestStart = "2200-01-01T00:00:00Z";

constexpr double defaultNoiseSeconds = 10;
constexpr double longestNoiseSeconds = 600;

constexpr auto footer = R"(Examples:
  velmor-meter mix.wav
  velmor-meter --offset 118.5 --json --ticks ticks.ndjson mix.flac
  velmor-meter --csv session.csv --report report.pdf mix.wav
  velmor-meter --list-devices
  velmor-meter --noise noise.wav --seconds 10
  velmor-meter --mic-response recorded-noise.wav --json
  velmor-meter --live --device alsa_input.usb-measurement_mic --channel 2 --seconds 60)";

/// Whether writing to the one would harm the other.
bool isSameFile(const std::string& a, const std::string& b)
{
    if (a.empty() || b.empty())
        return false;
    if (a == "-" && b == "-")
        return true;
    std::error_code error;
    const auto place = [&error](const std::string& path) {
        return std::filesystem::weakly_canonical(std::filesystem::absolute(path, error), error);
    };
    const bool isSame = place(a) == place(b) || std::filesystem::equivalent(a, b, error);
    return isSame && (!std::filesystem::exists(a, error) || std::filesystem::is_regular_file(a, error));
}

void checkPaths(const Options& options)
{
    const std::string history = options.historyFolder.empty() ? "" : options.historyFolder + "/sessions.json";
    const std::array paths = {history,
                              options.file,
                              options.blocksPath,
                              options.ticksPath,
                              options.notificationsPath,
                              options.csvPath,
                              options.timeSeriesPath,
                              options.sessionJsonPath,
                              options.reportPath,
                              options.noisePath};
    for (auto a = paths.begin(); a != paths.end(); ++a) {
        for (auto b = std::next(a); b != paths.end(); ++b) {
            if (isSameFile(*a, *b))
                throw MeterError(fmt::format("{}: named twice, as two different files", *b));
        }
    }
}

} // namespace

std::variant<Options, EarlyExit> parseOptions(int argumentCount, const char* const* arguments)
{
    Options options;
    bool isLive = false;
    bool listsDevices = false;
    std::string startText;
    std::string zoneName;
    double seconds = 0;
    std::string recording;

    CLI::App app(
        "Measures sound exposure: calibrated dBA and dBC levels, peaks and the NIOSH dose of a sound "
        "file or a live input.",
        "velmor-meter");
    app.footer(footer);
    app.set_version_flag("--version", "velmor-meter " VELMOR_VERSION);
    auto* file = app.add_option("FILE", options.file, "Sound file: WAV, RF64, FLAC, AIFF, Ogg and others");
    auto* live = app.add_flag("--live", isLive, "Measure a live input instead of a file");
    auto* list = app.add_flag("--list-devices", listsDevices, "List the input devices and their channels");
    app.add_option("--device", options.device, "Input device, by the UID of --list-devices (system default)")
        ->needs(live);
    app.add_option("--channel", options.channel, "Channel to measure, counted from 1")->capture_default_str();
    auto* offset = app.add_option("--offset", options.calibrationOffset,
                                  "Calibration: level in dB of a full-scale RMS of 1 (94)");
    auto* conservative =
        app.add_flag("--conservative", options.conservative, "Count the higher of dBA and dBC into the dose");
    auto* start =
        app.add_option("--start", startText, "Start of the recording, as 2026-03-01T09:12:45Z (now)")
            ->excludes(live);
    app.add_option("--time-zone", zoneName, "Time zone of the day, as Europe/Berlin (the system's)");
    auto* duration = app.add_option("--seconds", seconds,
                                    "Measure for so long (until interrupted); length of the noise (10)");
    auto* noise =
        app.add_option("--noise", options.noisePath,
                       "Write the calibration's pink noise to this sound file, WAV, 44100 Hz, stereo");
    auto* response =
        app.add_option("--mic-response", recording,
                       "Analyse a recording of that noise, and print the correction of what recorded it");
    app.add_flag("--json", options.json, "Print the result as one JSON object");
    auto* blocks =
        app.add_option("--blocks", options.blocksPath,
                       "Write one JSON object for each block of 1024 frames (- for standard output)");
    auto* ticks =
        app.add_option("--ticks", options.ticksPath,
                       "Write one JSON object for each tick of 0.1 seconds (- for standard output)");
    auto* notifications =
        app.add_option("--notifications", options.notificationsPath,
                       "Write one JSON object for each notification that the program would post (- for "
                       "standard output)");
    auto* csv = app.add_option("--csv", options.csvPath,
                               "Write the session as comma-separated values (- for standard output)");
    auto* timeSeries = app.add_option("--time-series", options.timeSeriesPath,
                                      "Write the session's readings as comma-separated values");
    auto* sessionJson = app.add_option("--session-json", options.sessionJsonPath,
                                       "Write the session in the form of the history file");
    auto* report =
        app.add_option("--report", options.reportPath, "Write the session's report, a PDF of one page");
    auto* name = app.add_option("--name", options.name,
                                "Name of the session (the file's name, Manual for a live input)");
    auto* history = app.add_option("--history", options.historyFolder,
                                   "Keep the session in the history of this folder, as the program would");
    auto* target = app.add_option("--target", options.target, "Reference level in dBA (79)");
    auto* tolerance =
        app.add_option("--tolerance", options.tolerance, "Half the width of the reference band in dB (3)");
    file->excludes(live)->excludes(list)->excludes(noise)->excludes(response);
    live->excludes(list)->excludes(noise)->excludes(response);
    noise->excludes(list)->excludes(response);
    response->excludes(list);
    for (CLI::Option* exporting : {csv, timeSeries, sessionJson, report})
        list->excludes(exporting);
    for (CLI::Option* measuring : {start, name, history, target, tolerance, conservative, offset, blocks,
                                   ticks, notifications, csv, timeSeries, sessionJson, report}) {
        noise->excludes(measuring);
        response->excludes(measuring);
    }

    try {
        app.parse(argumentCount, arguments);
    } catch (const CLI::Success& wish) {
        return EarlyExit{app.exit(wish)};
    } catch (const CLI::ParseError& error) {
        std::string text = error.what();
        std::ranges::replace(text, '\n', ' ');
        throw MeterError(text + " (see --help)");
    }

    for (const CLI::Option* option : app.get_options()) {
        if (option->count() > 0 && option->get_items_expected_max() > 0 && option->results().front().empty())
            throw MeterError(fmt::format("{}: given without a value", option->get_name()));
    }
    for (std::string* path :
         {&options.blocksPath, &options.ticksPath, &options.notificationsPath, &options.csvPath,
          &options.timeSeriesPath, &options.sessionJsonPath, &options.reportPath, &options.noisePath}) {
        if (*path == "/dev/stdout")
            *path = "-";
    }

    if (options.reportPath == "-")
        throw MeterError("--report: a PDF goes to a file");
    if (listsDevices)
        options.task = Options::Task::listDevices;
    else if (isLive)
        options.task = Options::Task::measureLive;
    else if (noise->count() > 0)
        options.task = Options::Task::writeNoise;
    else if (response->count() > 0) {
        options.task = Options::Task::analyzeMicResponse;
        options.file = recording;
    } else if (options.file.empty())
        throw MeterError("no sound file named, nor --live, --list-devices, --noise or --mic-response (see "
                         "--help)");

    if (options.channel < 1)
        throw MeterError(fmt::format("no channel {}: channels are counted from 1", options.channel));
    if (options.calibrationOffset && !std::isfinite(*options.calibrationOffset))
        throw MeterError("--offset: not a finite number");
    for (const auto& [option, value] :
         {std::pair("--target", options.target), std::pair("--tolerance", options.tolerance)}) {
        if (value && !(*value > 0 && std::isfinite(*value)))
            throw MeterError(fmt::format("{}: not a level above 0", option));
    }
    if (!startText.empty()) {
        options.start = dateFromIsoText(startText);
        if (!options.start || isoText(*options.start) != startText)
            throw MeterError(fmt::format("--start {}: not a moment like 2026-03-01T09:12:45Z", startText));
        if (*options.start > dateFromIsoText(latestStart))
            throw MeterError(fmt::format("--start {}: later than {}", startText, latestStart));
    }
    if (!zoneName.empty()) {
        const auto calendar = Calendar::inZone(zoneName);
        if (!calendar)
            throw MeterError(fmt::format("--time-zone {}: no such time zone", zoneName));
        options.calendar = *calendar;
    }
    if (duration->count() > 0) {
        if (!(seconds > 0) || !(seconds < 1e9))
            throw MeterError("--seconds: not a duration above 0");
        if (options.task != Options::Task::measureLive && options.task != Options::Task::writeNoise)
            throw MeterError("--seconds: goes with --live or --noise");
        options.seconds = seconds;
    }
    if (options.task == Options::Task::writeNoise) {
        options.seconds = options.seconds.value_or(defaultNoiseSeconds);
        if (*options.seconds > longestNoiseSeconds)
            throw MeterError("--seconds: noise of at most ten minutes");
        if (*options.seconds * PinkNoisePlayer::format.sampleRate < 1)
            throw MeterError("--seconds: shorter than a sample");
    }
    checkPaths(options);
    return options;
}

} // namespace velmor
