// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sessions/Session.h>

#include <chrono>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace velmor::test {

inline Date moment(const char* isoText)
{
    return dateFromIsoText(isoText).value();
}

/// A finished session with so many readings, one every 10 seconds.
inline Session sampleSession(Date start, int readings, unsigned seed = 1)
{
    std::mt19937_64 generator(seed);
    std::uniform_real_distribution<double> level(55, 95);
    Session session;
    for (auto& byte : session.id)
        byte = static_cast<std::uint8_t>(generator());
    session.startDate = start;
    session.endDate = start + std::chrono::seconds(10 * readings);
    session.dawName = "REAPER";
    session.averageSPL = level(generator);
    session.peakSPL = level(generator) + 20;
    session.doseAccumulated = level(generator) / 10;
    session.peakDBC = level(generator) + 40;
    session.peakCount135 = static_cast<std::int64_t>(generator() % 10);
    session.peakCount140 = session.peakCount135 / 2;
    session.peakDBACount115 = static_cast<std::int64_t>(generator() % 10);
    session.monitoringTarget = 79;
    session.monitoringTolerance = 3;
    session.timeSilentSec = level(generator);
    session.timeUnderSec = level(generator);
    session.timeOnTargetSec = level(generator) * 10;
    session.timeOverSec = level(generator);
    for (int i = 0; i < readings; ++i) {
        const double dBA = level(generator);
        session.readings.push_back({start + std::chrono::seconds(10 * (i + 1)), dBA,
                                    session.doseAccumulated * i / readings, dBA + 3.25,
                                    classifyLevel(dBA, 79, 3)});
    }
    return session;
}

} // namespace velmor::test
