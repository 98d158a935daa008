// SPDX-License-Identifier: GPL-3.0-or-later
// Watching the processes: a scan that finds nothing new among 300 processes more than the machine has, and
// the time from a workstation's start and end to the callbacks.
#include <app/DAWDetectionService.h>
#include <linux/PollMainLoop.h>
#include <linux/ProcessWorkspace.h>
#include <platform/MemoryDefaultsStore.h>
#include <support/RunProgram.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <vector>

#include <csignal>

namespace velmor {
namespace {

using Clock = std::chrono::steady_clock;

void end(pid_t process)
{
    ::kill(process, SIGKILL);
    ::waitpid(process, nullptr, 0);
}

void scanWithNothingNew(benchmark::State& state)
{
    std::vector<pid_t> processes;
    for (int i = 0; i < 300; ++i)
        processes.push_back(test::spawn({"/bin/sleep", "1000"}));
    {
        PollMainLoop loop;
        ProcessWorkspace workspace(loop, {"/usr/share"});
        for (int i = 0; i < 4; ++i)
            workspace.scan();
        for (auto _ : state)
            workspace.scan();
    }
    const auto isProcess = [](const auto& entry) {
        const char first = entry.path().filename().native().front();
        return first >= '0' && first <= '9';
    };
    state.counters["processes"] = static_cast<double>(std::count_if(
        std::filesystem::directory_iterator("/proc"), std::filesystem::directory_iterator(), isProcess));
    for (const pid_t process : processes)
        end(process);
}
BENCHMARK(scanWithNothingNew)->Unit(benchmark::kMicrosecond);

enum class Event { start, end };

/// The scans come once a second; the starts fall anywhere in between.
void noticing(benchmark::State& state, Event event)
{
    const test::TemporaryFolder folder;
    std::filesystem::copy_file("/bin/sleep", folder / "reaper");
    PollMainLoop loop;
    ProcessWorkspace workspace(loop, {"/usr/share"});
    MemoryDefaultsStore defaults;
    DAWDetectionService detection(workspace, defaults);
    const auto quit = [&] { loop.quit(); };
    detection.onDAWLaunched = [&](const std::string&) { quit(); };
    detection.onAllDAWsQuit = quit;
    double worst = 0;
    int round = 0;
    for (auto _ : state) {
        loop.after(0.137 * (++round % 8), quit);
        loop.run();
        const auto beforeStart = Clock::now();
        const pid_t process = test::spawn({folder / "reaper", "1000"});
        loop.run();
        const auto beforeEnd = Clock::now();
        ::kill(process, SIGKILL);
        loop.run();
        const auto afterEnd = Clock::now();
        ::waitpid(process, nullptr, 0);
        const std::chrono::duration<double> taken =
            event == Event::start ? beforeEnd - beforeStart : afterEnd - beforeEnd;
        worst = std::max(worst, taken.count());
        state.SetIterationTime(taken.count());
    }
    state.counters["worst_ms"] = worst * 1000;
}
BENCHMARK_CAPTURE(noticing, aWorkstationsStart, Event::start)
    ->Iterations(24)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(noticing, aWorkstationsEnd, Event::end)
    ->Iterations(24)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace
} // namespace velmor
