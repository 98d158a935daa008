// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/DefaultsStore.h>

#include <array>
#include <string_view>

namespace velmor {

/// Which side of the alert band counts as off target.
enum class OffTargetDirection { both, underOnly, overOnly };

/// What the user wants to be alerted to.
struct MonitoringAlertSettings
{
    bool driftAlertEnabled = true;
    bool offTargetAlertEnabled = true;
    OffTargetDirection offTargetDirection = OffTargetDirection::both;
    double offTargetWindowSec = 900.0; ///< Length of the examined stretch.
    double offTargetToleranceDB = 5.0; ///< Half the width of the alert band.

    bool operator==(const MonitoringAlertSettings&) const = default;
};

struct OffTargetDirectionRow
{
    OffTargetDirection value;
    std::string_view rawValue;
    std::string_view label;
};

/// In the order of a picker.
inline constexpr std::array<OffTargetDirectionRow, 3> offTargetDirections = {{
    {OffTargetDirection::both, "both", "Both directions"},
    {OffTargetDirection::underOnly, "underOnly", "Under target only"},
    {OffTargetDirection::overOnly, "overOnly", "Over target only"},
}};

/// A window to choose, in seconds.
struct OffTargetWindow
{
    double value;
    std::string_view label;
};

/// In the order of a picker. Other windows are as valid.
inline constexpr std::array<OffTargetWindow, 5> offTargetWindows = {{
    {300.0, "5 minutes"},
    {600.0, "10 minutes"},
    {900.0, "15 minutes (recommended)"},
    {1200.0, "20 minutes"},
    {1800.0, "30 minutes"},
}};

/// A tolerance to choose, in dB.
struct OffTargetTolerance
{
    double value;
    std::string_view label;
};

/// In the order of a picker. Other tolerances are as valid.
inline constexpr std::array<OffTargetTolerance, 3> offTargetTolerances = {{
    {3.0, "±3 dB (strict)"},
    {5.0, "±5 dB (recommended)"},
    {7.0, "±7 dB (relaxed)"},
}};

/// Keeps the settings in the defaults store. A value that is missing, of another type, unknown, or not
/// above 0 where it must be reads as its default.
class MonitoringAlertSettingsStore
{
public:
    explicit MonitoringAlertSettingsStore(DefaultsStore& defaults)
        : m_defaults(defaults)
    {}

    MonitoringAlertSettings load() const;
    void save(const MonitoringAlertSettings& settings);

private:
    DefaultsStore& m_defaults;
};

} // namespace velmor
