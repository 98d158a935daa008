// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <integrations/VelmorWidgetSnapshot.h>

#include <chrono>
#include <string>

namespace velmor::test {

/// A record all of whose parts tell its number, of a length of its own.
inline VelmorWidgetSnapshot numberedSnapshot(int number)
{
    auto snapshot = VelmorWidgetSnapshot::sample(Date(std::chrono::seconds(1'700'000'000 + number)));
    snapshot.todayDosePercent = number;
    snapshot.lastDBA = number;
    snapshot.dawName = std::string(static_cast<std::size_t>(number % 5000), 'x');
    snapshot.streakDays = number;
    snapshot.weeklyDoses.assign(7, number);
    snapshot.monitoringPreset = std::to_string(number);
    return snapshot;
}

} // namespace velmor::test
