// SPDX-License-Identifier: GPL-3.0-or-later
// What the record for widgets costs the main thread, with a history of a year: five sessions a day. It is
// written every five seconds. The store is SQLite: the commit itself runs on its own thread. The baseline in
// the same run is the empty history.
#include <app/AppState.h>
#include <base/Print.h>
#include <base/VirtualMainLoop.h>
#include <linux/SqliteDefaultsStore.h>
#include <platform/MemoryDefaultsStore.h>
#include <support/HubHost.h>
#include <support/SampleSessions.h>
#include <support/TemporaryFolder.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <vector>

namespace velmor {
namespace {

void snapshot(benchmark::State& state, const char* zone, int sessionCount)
{
    setPrintedLines(PrintedLines::nowhere);
    const test::TemporaryFolder folder;
    test::HubHost host("2026-12-31T21:00:00Z", zone);
    SqliteDefaultsStore suite(host.loop, folder / "suite.sqlite");
    Host described = host.host();
    described.widgetSuite = &suite;
    AppState hub(described);
    hub.sessionManager.sessionHistory.update([&](auto& history) {
        for (int i = 0; i < sessionCount; ++i) {
            history.push_back(
                test::sampleSession(test::moment("2026-12-31T20:00:00Z") - std::chrono::minutes(288 * i), 1,
                                    static_cast<unsigned>(i)));
            // All days go on with the streak: the longest way.
            history.back().doseAccumulated = 1;
        }
    });
    hub.startSession("REAPER");
    for (auto _ : state) {
        hub.writeWidgetSnapshot(false);
        host.loop.runFor(0.001);
    }
    state.counters["sessions"] = sessionCount;
}

constexpr int sessionsOfAYear = 1825;

BENCHMARK_CAPTURE(snapshot, EmptyHistory, "Europe/Berlin", 0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(snapshot, Year, "Europe/Berlin", sessionsOfAYear)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(snapshot, YearInUTC, "UTC", sessionsOfAYear)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace velmor
