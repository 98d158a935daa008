// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace velmor::test {

/// The equivalent and percentile levels by the plain method: a power for each level of each window on
/// every reading, and a sort a second.
struct PlainLeq
{
    explicit PlainLeq(double rateHz)
        : maxSamples(std::max<std::int64_t>(static_cast<std::int64_t>(rateHz * 1800.0), 1))
        , n1(std::max<std::int64_t>(static_cast<std::int64_t>(rateHz * 60.0), 1))
        , n10(std::max<std::int64_t>(static_cast<std::int64_t>(rateHz * 600.0), 1))
        , lnThrottle(std::max<std::int64_t>(static_cast<std::int64_t>(rateHz), 1))
    {
        buffer.reserve(static_cast<std::size_t>(maxSamples) + 1);
    }

    void addReading(double level)
    {
        buffer.push_back(level);
        if (std::ssize(buffer) > maxSamples)
            buffer.erase(buffer.begin());
        ++tickCount;
        leq1min = meanOfLast(n1);
        leq10min = meanOfLast(n10);
        leq30min = meanOfLast(maxSamples);
        if (tickCount % lnThrottle == 0)
            sortLevels();
    }

    std::optional<double> meanOfLast(std::int64_t count) const
    {
        if (std::ssize(buffer) < count)
            return std::nullopt;
        double sum = 0;
        for (auto level = buffer.end() - count; level != buffer.end(); ++level)
            sum += std::pow(10.0, *level / 10.0);
        return 10.0 * std::log10(sum / static_cast<double>(count));
    }

    void sortLevels()
    {
        l10 = l50 = l90 = std::nullopt;
        if (std::ssize(buffer) < n1)
            return;
        std::vector<double> sorted = buffer;
        std::ranges::sort(sorted);
        const auto exceededFor = [&](double fraction) {
            const double last = static_cast<double>(sorted.size() - 1);
            const auto index = static_cast<std::int64_t>(std::round((1.0 - fraction) * last));
            return sorted[static_cast<std::size_t>(
                std::clamp<std::int64_t>(index, 0, std::ssize(sorted) - 1))];
        };
        l10 = exceededFor(0.1);
        l50 = exceededFor(0.5);
        l90 = exceededFor(0.9);
    }

    std::int64_t maxSamples;
    std::int64_t n1;
    std::int64_t n10;
    std::int64_t lnThrottle;
    std::int64_t tickCount = 0;
    std::vector<double> buffer;
    std::optional<double> leq1min;
    std::optional<double> leq10min;
    std::optional<double> leq30min;
    std::optional<double> l10;
    std::optional<double> l50;
    std::optional<double> l90;
};

} // namespace velmor::test
