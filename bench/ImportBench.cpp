// SPDX-License-Identifier: GPL-3.0-or-later
// The largest export file that is taken, 64 MiB of sessions: read, checked, merged into the history and
// saved.
#include "ProcessFigures.h"

#include <sessions/SessionFormat.h>
#include <support/RunProgram.h>
#include <support/SampleSessions.h>
#include <support/TemporaryFolder.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace velmor {
namespace {

constexpr std::size_t fileBytes = 67108864;

/// Sessions of two hours until the file is full; the rest of it is space.
std::string exportText()
{
    std::vector<Session> sessions;
    std::string text = R"({"schemaVersion":1,"sessions":[)";
    for (unsigned i = 0;; ++i) {
        const Session session =
            test::sampleSession(test::moment("2026-03-01T20:00:00Z") - std::chrono::hours(12 * i), 720, i);
        // A list of one, without its brackets.
        const std::string list = encodedHistory(std::vector{session}).value();
        const std::string item = (i > 0 ? "," : "") + list.substr(1, list.size() - 2);
        if (text.size() + item.size() + 2 > fileBytes)
            break;
        text += item;
    }
    text += "]}";
    text.resize(fileBytes, ' ');
    return text;
}

/// A process of its own, which tells what it took: time of the import in milliseconds, and the most memory.
void import64MiB(benchmark::State& state)
{
    const test::TemporaryFolder folder;
    const auto file = folder / "export.json";
    test::writeFile(file, exportText());
    double milliseconds = 0;
    double peak = 0;
    for (auto _ : state) {
        const std::string output = test::run({VELMOR_IMPORT_FILE, file.native()}).output;
        const std::size_t space = output.find(' ');
        if (space == std::string::npos) {
            state.SkipWithError("it is not imported");
            return;
        }
        milliseconds = std::stod(output);
        peak = std::stod(output.substr(space));
        state.SetIterationTime(milliseconds / 1000);
    }
    state.counters["peak_MiB"] = peak;
    state.counters["limit_MiB"] = 4.0 * fileBytes / (1 << 20);
}
BENCHMARK(import64MiB)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);

} // namespace
} // namespace velmor
