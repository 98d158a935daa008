// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Calendar.h>
#include <base/Date.h>

#include <optional>
#include <string>
#include <variant>

namespace velmor {

/// What the user asked the meter for.
struct Options
{
    enum class Task { measureFile, measureLive, listDevices, writeNoise, analyzeMicResponse };

    Task task = Task::measureFile;
    std::string file;
    std::string device;                      ///< Name of a PipeWire source; empty for the system's default.
    int channel = 1;                         ///< Counted from 1, as people do.
    std::optional<double> calibrationOffset; ///< dB; absent for the program's default.
    bool conservative = false;
    std::optional<Date> start; ///< Absent for now.
    Calendar calendar = Calendar::current();
    std::optional<double> seconds; ///< Absent for until it is interrupted; always there for noise.
    bool json = false;
    std::string noisePath;
    std::string blocksPath;
    std::string ticksPath;
    std::string notificationsPath;
    std::string csvPath;
    std::string timeSeriesPath;
    std::string sessionJsonPath;
    std::string reportPath;
    std::string name;                ///< Of the session; empty for its default.
    std::string historyFolder;       ///< Empty for a session that is not kept.
    std::optional<double> target;    ///< dBA, above 0; absent for the program's default.
    std::optional<double> tolerance; ///< dB, above 0; absent for the program's default.
};

/// The command line was complete in itself, as --help is.
struct EarlyExit
{
    int status = 0;
};

/// Reads the command line. Prints the help or the version where asked for.
/// \throws MeterError for a command line that makes no sense.
std::variant<Options, EarlyExit> parseOptions(int argumentCount, const char* const* arguments);

} // namespace velmor
