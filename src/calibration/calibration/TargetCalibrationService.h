// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/MainLoop.h>
#include <base/Observable.h>
#include <calibration/PinkNoisePlayer.h>
#include <calibration/TargetCalibrationStore.h>

#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace velmor {

/// Where the calibration of the monitor controller stands.
namespace TargetCalibration {

struct Idle
{
    bool operator==(const Idle&) const = default;
};
struct Playing
{
    bool operator==(const Playing&) const = default;
};
struct Captured
{
    double measuredSPL = 0; ///< dBA
    bool operator==(const Captured&) const = default;
};
struct Saved
{
    bool operator==(const Saved&) const = default;
};
struct Failed
{
    std::string message;
    bool operator==(const Failed&) const = default;
};

} // namespace TargetCalibration

using TargetCalibrationState =
    std::variant<TargetCalibration::Idle, TargetCalibration::Playing, TargetCalibration::Captured,
                 TargetCalibration::Saved, TargetCalibration::Failed>;

/// Plays noise until the user has set the monitor controller to the reference level, and keeps where it
/// stands. The noise plays only in the state `Playing`. Main thread.
class TargetCalibrationService final : public ObservableObject
{
public:
    explicit TargetCalibrationService(MainLoop& loop)
        : m_loop(loop)
    {}

    Published<TargetCalibrationState> state{*this, TargetCalibration::Idle()};

    /// Begins a run, whatever the state. The player outlives it. \return whether the noise plays.
    /// \param outputDeviceUID the system's default when absent or empty.
    bool start(PinkNoisePlayer& pinkNoisePlayer, const std::optional<std::string>& outputDeviceUID);

    /// Ends the noise and holds the level, dBA. Only while it plays.
    void capture(double measuredSPL);

    /// Keeps what was captured. Only then.
    void save(std::string_view note, const std::string& outputDeviceUID, const std::string& outputDeviceName,
              double targetDBA, double toleranceDBA, TargetCalibrationStore& store);

    /// Lets the noise play on. Only when a level was captured.
    void recapture();

    /// Ends a run, and the noise with it.
    void cancel();

    /// From saved or failed back to idle.
    void dismiss() { state = TargetCalibration::Idle(); }

private:
    MainLoop& m_loop;
    PinkNoisePlayer* m_pinkNoisePlayer = nullptr; ///< For the length of a run.
    std::optional<std::string> m_lastDeviceUID;
};

} // namespace velmor
