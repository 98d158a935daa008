// SPDX-License-Identifier: GPL-3.0-or-later
// One reading of the rolling levels with half an hour buffered, the percentiles' share included, against
// the plain method: a power for each buffered level and a sort a second.
#include <exposure/LeqStatisticsService.h>
#include <support/PlainLeq.h>

#include <benchmark/benchmark.h>

#include <cstddef>
#include <random>
#include <vector>

namespace velmor {
namespace {

constexpr double rateHz = 10.0;
constexpr int buffered = 18000;

/// The levels of music, the same in each run.
std::vector<double> levels()
{
    std::mt19937 generator(3);
    std::normal_distribution<double> level(80, 6);
    std::vector<double> values(4096);
    for (double& value : values)
        value = level(generator);
    return values;
}

template <typename Statistics>
void addReading(benchmark::State& state)
{
    const auto values = levels();
    Statistics statistics(rateHz);
    std::size_t next = 0;
    const auto add = [&] { statistics.addReading(values[next++ % values.size()]); };
    for (int i = 0; i < buffered + 100; ++i)
        add();
    for (auto _ : state)
        add();
}
BENCHMARK_TEMPLATE(addReading, test::PlainLeq)->Name("plain")->Unit(benchmark::kMicrosecond)->Iterations(500);
BENCHMARK_TEMPLATE(addReading, LeqStatisticsService)
    ->Name("service")
    ->Unit(benchmark::kMicrosecond)
    ->Iterations(200000);

} // namespace
} // namespace velmor
