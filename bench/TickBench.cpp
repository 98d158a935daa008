// SPDX-License-Identifier: GPL-3.0-or-later
// One tick of the hub in a session that is half an hour old and above the threshold: with the store in
// memory; with the store in SQLite, what the main thread spends on it and the time until the dose is
// committed. And a working day of such ticks.
#include <app/AppState.h>
#include <base/Print.h>
#include <base/VirtualMainLoop.h>
#include <linux/SqliteDefaultsStore.h>
#include <platform/MemoryDefaultsStore.h>
#include <support/FakeAudio.h>
#include <support/FakeNotificationCenter.h>
#include <support/Sound.h>
#include <support/TemporaryFolder.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <vector>

namespace velmor {
namespace {

enum class Wait { no, untilCommitted };

/// Reports the median of the ticks' durations, too: now and then one waits for a sync.
void tick(benchmark::State& state, DefaultsStore& defaults, VirtualMainLoop& loop,
          const std::function<void()>& commit)
{
    test::FakeAudio audio;
    NoPlayback playback;
    const Calendar calendar = Calendar::inZone("UTC").value();
    test::FakeNotificationCenter notifications;
    NoLoginItem loginItem;
    NoWorkspace workspace;
    AppState hub({loop, audio, audio, playback, defaults, calendar, notifications, loginItem, workspace,
                  SessionStorage::nowhere()});
    hub.settings.calibrationOffset = 110;
    setPrintedLines(PrintedLines::nowhere);
    hub.startSession("REAPER");
    for (std::size_t block = 0; block < 20; ++block)
        audio.engine().deliver(test::sine(1000, 0.5, 48000, 1024, block * 1024));
    loop.runPosted();
    // Half an hour fills the statistics.
    loop.runFor(1900);

    std::vector<double> microseconds;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        loop.runFor(0.1);
        commit();
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(taken.count());
        microseconds.push_back(taken.count() * 1e6);
    }
    std::ranges::nth_element(microseconds, microseconds.begin() + std::ssize(microseconds) / 2);
    state.counters["median_us"] = microseconds[microseconds.size() / 2];
    state.counters["worst_us"] = *std::ranges::max_element(microseconds);
}

void tickInSqlite(benchmark::State& state, Wait wait)
{
    const test::TemporaryFolder folder;
    VirtualMainLoop loop(dateFromIsoText("2026-03-02T00:00:00Z").value());
    SqliteDefaultsStore defaults(loop, folder / "defaults.sqlite");
    tick(state, defaults, loop, [&] {
        if (wait == Wait::untilCommitted)
            defaults.flush();
    });
}
BENCHMARK_CAPTURE(tickInSqlite, main_thread, Wait::no)->UseManualTime()->Iterations(20000);
BENCHMARK_CAPTURE(tickInSqlite, until_committed, Wait::untilCommitted)->UseManualTime()->Iterations(20000);

void tickInMemory(benchmark::State& state)
{
    VirtualMainLoop loop(dateFromIsoText("2026-03-02T00:00:00Z").value());
    MemoryDefaultsStore defaults;
    tick(state, defaults, loop, [] {});
}
BENCHMARK(tickInMemory)->UseManualTime()->Iterations(20000);

/// A session of 8 hours with its history, journal and alerts, as fast as it goes.
void eightHours(benchmark::State& state)
{
    setPrintedLines(PrintedLines::nowhere);
    constexpr double seconds = 8 * 3600;
    for (auto _ : state) {
        const test::TemporaryFolder folder;
        VirtualMainLoop loop(dateFromIsoText("2026-03-02T09:00:00Z").value());
        MemoryDefaultsStore defaults;
        test::FakeAudio audio;
        NoPlayback playback;
        const Calendar calendar = Calendar::inZone("UTC").value();
        test::FakeNotificationCenter notifications;
        NoLoginItem loginItem;
        NoWorkspace workspace;
        AppState hub({loop, audio, audio, playback, defaults, calendar, notifications, loginItem, workspace,
                      SessionStorage::inFolder(folder.path())});
        hub.startSession("REAPER");
        // A level for each second.
        for (int second = 0; second < static_cast<int>(seconds); ++second) {
            hub.audioService.currentSPL = 78 + second % 13;
            hub.audioService.currentDBC = 81 + second % 13;
            loop.runFor(1);
        }
        hub.endSession();
    }
    state.counters["times_real_time"] =
        benchmark::Counter(seconds * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(eightHours)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

} // namespace
} // namespace velmor
