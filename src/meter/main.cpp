// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Print.h>
#include <meter/CalibrationTasks.h>
#include <meter/FileMeasurement.h>
#include <meter/LiveMeasurement.h>
#include <meter/MeterError.h>
#include <meter/Options.h>
#include <meter/Summary.h>

#include <fmt/format.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace velmor;

constexpr int badInputStatus = 2;
constexpr int interruptedStatus = 128 + SIGINT;

volatile std::sig_atomic_t interrupted = 0;

/// Lets the measurement end by itself, so that no half-written file stays behind. A second signal has
/// its usual effect. A reader that has gone away is an output that can't be written.
void interruptOnSignals()
{
    struct sigaction action = {};
    action.sa_handler = [](int) { interrupted = 1; };
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        ::sigaction(signal, &action, nullptr);
    action.sa_handler = SIG_IGN;
    action.sa_flags = 0;
    ::sigaction(SIGPIPE, &action, nullptr);
}

/// Started with its standard streams closed, the program would take its own files for them.
void fillStandardStreams()
{
    int descriptor = 0;
    do
        descriptor = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    ::close(descriptor);
}

/// Unlike fmt::print this doesn't throw where standard error is closed or full.
void printOnStandardError(const std::string& text)
{
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

/// A bar on the terminal, for files that take a moment.
class ProgressBar
{
public:
    ~ProgressBar() { clear(); }

    void clear()
    {
        if (std::exchange(m_percent, 0) > 0)
            printOnStandardError("\r\x1b[K");
    }

    void show(double share)
    {
        constexpr int width = 40;
        const int percent = static_cast<int>(share * 100);
        if (!m_isTerminal || percent <= m_percent)
            return;
        m_percent = percent;
        const int filled = percent * width / 100;
        printOnStandardError(
            fmt::format("\r[{:█<{}}{:░<{}}] {:3} %", "", filled, "", width - filled, percent));
    }

private:
    bool m_isTerminal = ::isatty(STDERR_FILENO) == 1;
    int m_percent = 0;
};

void print(const std::string& result)
{
    const bool isPrinted =
        std::fwrite(result.data(), 1, result.size(), stdout) == result.size() && std::fflush(stdout) == 0;
    if (!isPrinted)
        throw MeterError("standard output can't be written");
}

/// The figures come first: they are there, also where the session could not be kept.
void report(const Options& options, const Summary& summary)
{
    print(options.json ? jsonText(summary) : humanText(summary));
    if (!summary.isSessionKept)
        throw MeterError(fmt::format("{}: the session could not be kept there", options.historyFolder));
    if (!summary.exportFailure.empty())
        throw MeterError(summary.exportFailure);
}

int run(const Options& options)
{
    switch (options.task) {
    case Options::Task::listDevices:
        print(deviceList(options.json));
        return EXIT_SUCCESS;
    case Options::Task::writeNoise:
        writeNoise(options);
        return EXIT_SUCCESS;
    case Options::Task::analyzeMicResponse:
        print(analyzeMicResponse(options));
        return EXIT_SUCCESS;
    case Options::Task::measureLive:
        setPrintedLines(PrintedLines::onStandardError);
        report(options, measureLive(options, interrupted));
        return EXIT_SUCCESS;
    case Options::Task::measureFile:
        break;
    }

    ProgressBar bar;
    const auto summary = measureFile(options, [&bar](double share) {
        bar.show(share);
        return interrupted != 0;
    });
    if (!summary)
        return interruptedStatus;
    bar.clear();
    report(options, *summary);
    return EXIT_SUCCESS;
}

} // namespace

int main(int argumentCount, char** arguments)
{
    fillStandardStreams();
    // A report is drawn without a desktop, whose theme would look for its display. Before any other thread is
    // there to read the environment.
    ::unsetenv("QT_QPA_PLATFORMTHEME");
    ::unsetenv("QT_STYLE_OVERRIDE");
    try {
        const auto parsed = parseOptions(argumentCount, arguments);
        if (const auto* exit = std::get_if<EarlyExit>(&parsed))
            return exit->status;
        const auto* options = std::get_if<Options>(&parsed);
        // What a history had to be mended of is worth a line, also beside a result.
        setPrintedLines(options->historyFolder.empty() ? PrintedLines::nowhere
                                                       : PrintedLines::onStandardError);
        interruptOnSignals();
        return run(*options);
    } catch (const std::exception& error) {
        printOnStandardError(fmt::format("velmor-meter: {}\n", error.what()));
        return badInputStatus;
    }
}
