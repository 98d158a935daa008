// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <support/SampleSessions.h>

#include <chrono>
#include <cstdint>
#include <vector>

namespace velmor::test {

inline constexpr int yearSessionCount = 1825;
inline constexpr int yearReadingCount = 176'760;

/// Five sessions a day, each with about a hundred readings.
inline const std::vector<Session>& year()
{
    static const std::vector<Session> sessions = [] {
        std::vector<Session> result;
        int readings = 0;
        for (int i = 0; i < yearSessionCount; ++i) {
            const int upTo = static_cast<int>(yearReadingCount * (std::int64_t(i) + 1) / yearSessionCount);
            result.push_back(sampleSession(moment("2026-12-31T20:00:00Z") - std::chrono::minutes(288 * i),
                                           upTo - readings, static_cast<unsigned>(i)));
            readings = upTo;
        }
        return result;
    }();
    return sessions;
}

} // namespace velmor::test
