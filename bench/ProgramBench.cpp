// SPDX-License-Identifier: GPL-3.0-or-later
// The desktop program over a minute, idle and in a session with a stereo source at 48 kHz: its share of a
// core, its memory and how much that grows. On a private session, with a microphone that plays a tone.
#include "ProcessFigures.h"

#include <support/PrivateAudioSession.h>
#include <support/RunProgram.h>
#include <support/Sound.h>
#include <support/WriteSound.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

namespace velmor {
namespace {

using bench::memory;
using bench::processorSeconds;
using test::Companion;
using test::PrivateAudioSession;

constexpr int settlingSeconds = 5;
constexpr int measuredSeconds = 60;

enum class Work { idle, session };

void minute(benchmark::State& state, Work work)
{
    PrivateAudioSession session;
    if (!session.problem().empty()) {
        state.SkipWithError(session.problem().c_str());
        return;
    }
    session.createMicrophone("testmic");
    test::writeSound(session / "tones.wav",
                     {test::sine(1000, 0.5, 48000, 90 * 48000), test::sine(4000, 0.2, 48000, 90 * 48000)},
                     48000);
    const auto player = session.playInto("testmic", session / "tones.wav");
    std::filesystem::copy_file("/bin/sleep", session / "reaper");
    const Companion program({VELMOR_PROGRAM}, session / "velmor.log");
    std::unique_ptr<Companion> workstation;
    if (work == Work::session)
        workstation =
            std::make_unique<Companion>(std::vector<std::string>{(session / "reaper").native(), "1000"});

    for (auto _ : state) {
        std::this_thread::sleep_for(std::chrono::seconds(settlingSeconds));
        const double timeBefore = processorSeconds(program.process());
        const double memoryBefore = memory(program.process(), "VmRSS");
        std::this_thread::sleep_for(std::chrono::seconds(measuredSeconds));
        const double time = processorSeconds(program.process()) - timeBefore;
        state.counters["percent_of_a_core"] = 100 * time / measuredSeconds;
        state.counters["peak_MiB"] = memory(program.process(), "VmHWM");
        state.counters["growth_MiB"] = memory(program.process(), "VmRSS") - memoryBefore;
    }
}
BENCHMARK_CAPTURE(minute, idle, Work::idle)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK_CAPTURE(minute, inASession, Work::session)->Iterations(1)->Unit(benchmark::kSecond);

} // namespace
} // namespace velmor
