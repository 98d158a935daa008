// SPDX-License-Identifier: GPL-3.0-or-later
#include <discipline/Zone.h>

#include <base/Vocabulary.h>

#include <algorithm>

namespace velmor {

namespace {

/// A level further below the band than this is a pause or a stopped transport, not low listening.
constexpr double silenceGapDB = 12.0;
constexpr double silenceFloorDBA = 50.0;

struct Row
{
    Zone value;
    std::string_view rawValue;
};

constexpr Row zones[] = {
    {Zone::silent, "silent"},
    {Zone::under, "under"},
    {Zone::onTarget, "onTarget"},
    {Zone::over, "over"},
};

} // namespace

Zone classifyLevel(double dBA, double target, double tolerance)
{
    const double silenceThreshold = std::max(target - tolerance - silenceGapDB, silenceFloorDBA);
    if (dBA < silenceThreshold)
        return Zone::silent;
    if (dBA < target - tolerance)
        return Zone::under;
    if (dBA <= target + tolerance)
        return Zone::onTarget;
    return Zone::over;
}

std::string_view rawValue(Zone zone)
{
    return rowOf(zones, zone).rawValue;
}

std::optional<Zone> zoneFromRaw(std::string_view text)
{
    return valueFromRaw(zones, text);
}

} // namespace velmor
