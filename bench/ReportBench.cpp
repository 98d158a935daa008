// SPDX-License-Identifier: GPL-3.0-or-later
// A session's report from the call to the file on the disk, without a display.
#include <app/AppState.h>
#include <linux/DesktopShareServices.h>
#include <support/HubHost.h>
#include <support/ReportSamples.h>
#include <support/TemporaryFolder.h>
#include <ui/SessionReportSharing.h>

#include <QApplication>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>

namespace velmor {
namespace {

void report(benchmark::State& state, const Session& session)
{
    test::HubHost host;
    const AppState hub(host.host());
    DesktopShareServices services;
    const test::TemporaryFolder caches;
    const SessionReportSharing sharing(hub, services, caches.path());
    std::filesystem::path file;
    for (auto _ : state)
        file = sharing.writePDF(session, {});
    state.counters["kB"] = static_cast<double>(std::filesystem::file_size(file)) / 1e3;
}

/// The first one of a process loads the fonts.
void firstReportOfEightHours(benchmark::State& state)
{
    report(state, test::mixingSession(2880));
}
BENCHMARK(firstReportOfEightHours)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

void reportOfEightHours(benchmark::State& state)
{
    report(state, test::mixingSession(2880));
}
BENCHMARK(reportOfEightHours)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(10);

void reportOfEightHoursWithAZoneForEveryReading(benchmark::State& state)
{
    report(state, test::restlessSession());
}
BENCHMARK(reportOfEightHoursWithAZoneForEveryReading)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(10);

} // namespace
} // namespace velmor

int main(int argumentCount, char** arguments)
{
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    const QApplication application(argumentCount, arguments);
    benchmark::Initialize(&argumentCount, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
