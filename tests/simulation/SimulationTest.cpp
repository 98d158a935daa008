// SPDX-License-Identifier: GPL-3.0-or-later
#include <simulation/HubSimulation.h>
#include <support/CapturedOutput.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <map>
#include <string>

namespace velmor {
namespace {

/// A number from the environment, or what stands for it.
std::uint64_t fromEnvironment(const char* name, std::uint64_t otherwise)
{
    const char* text = std::getenv(name);
    return text ? std::stoull(text) : otherwise;
}

TEST(Simulation, KeepsItsInvariantsOverGeneratedDays)
{
    constexpr int daysARun = 10;
    const std::uint64_t days = fromEnvironment("VELMOR_SIMULATED_DAYS", 200);
    const std::uint64_t firstSeed = fromEnvironment("VELMOR_SIMULATION_SEED", 1);
    // A file that can't grow is an error of the write, not the end of the program.
    std::signal(SIGXFSZ, SIG_IGN);
    const test::QuietLines quietLines;
    std::map<std::string, int> events;
    for (std::uint64_t run = 0; run * daysARun < days; ++run) {
        const std::uint64_t seed = firstSeed + run;
        SCOPED_TRACE("replay with VELMOR_SIMULATED_DAYS=10 VELMOR_SIMULATION_SEED=" + std::to_string(seed));
        test::HubSimulation simulation(seed);
        simulation.run(daysARun);
        for (const auto& [name, count] : simulation.events())
            events[name] += count;
        ASSERT_FALSE(HasFailure()) << "seed " << seed;
    }
    std::cout << days << " days:";
    for (const auto& [name, count] : events)
        std::cout << ' ' << name << ' ' << count;
    std::cout << '\n';
}

} // namespace
} // namespace velmor
