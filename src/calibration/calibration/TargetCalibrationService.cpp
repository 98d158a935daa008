// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/TargetCalibrationService.h>

#include <base/Text.h>

namespace velmor {

using namespace TargetCalibration;

bool TargetCalibrationService::start(PinkNoisePlayer& pinkNoisePlayer,
                                     const std::optional<std::string>& outputDeviceUID)
{
    m_pinkNoisePlayer = &pinkNoisePlayer;
    m_lastDeviceUID = outputDeviceUID && !outputDeviceUID->empty() ? outputDeviceUID : std::nullopt;
    if (!pinkNoisePlayer.start(m_lastDeviceUID)) {
        state =
            Failed{"Could not start pink noise on the selected output. Check that the device is connected "
                   "and not in exclusive use."};
        return false;
    }
    state = Playing();
    return true;
}

void TargetCalibrationService::capture(double measuredSPL)
{
    if (!std::holds_alternative<Playing>(state.get()))
        return;
    if (m_pinkNoisePlayer)
        m_pinkNoisePlayer->stop();
    state = Captured{measuredSPL};
}

void TargetCalibrationService::save(std::string_view note, const std::string& outputDeviceUID,
                                    const std::string& outputDeviceName, double targetDBA,
                                    double toleranceDBA, TargetCalibrationStore& store)
{
    const auto* captured = std::get_if<Captured>(&state.get());
    if (!captured)
        return;
    store.save({m_loop.now(), outputDeviceUID, outputDeviceName, targetDBA, toleranceDBA,
                captured->measuredSPL, std::string(trimmed(note))});
    state = Saved();
}

void TargetCalibrationService::recapture()
{
    if (!std::holds_alternative<Captured>(state.get()))
        return;
    if (!m_pinkNoisePlayer)
        state = Failed{"Pink noise player no longer available. Restart the wizard."};
    else if (m_pinkNoisePlayer->start(m_lastDeviceUID))
        state = Playing();
    else
        state = Failed{"Could not restart pink noise. Check that the output device is still connected."};
}

void TargetCalibrationService::cancel()
{
    if (m_pinkNoisePlayer)
        m_pinkNoisePlayer->stop();
    m_pinkNoisePlayer = nullptr;
    m_lastDeviceUID.reset();
    state = Idle();
}

} // namespace velmor
