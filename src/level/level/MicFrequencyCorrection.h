// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Observable.h>
#include <level/MicCorrectionProfile.h>
#include <platform/DefaultsStore.h>

#include <atomic>
#include <cstddef>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

namespace velmor {

/// Holds the one measured correction of the microphone's frequency response, and applies it to each captured
/// block before frequency weighting. Main thread, but for apply().
///
/// Published values are announced in the middle of a change, some of them under the lock: a subscriber that
/// wants to change the correction posts to the main loop.
class MicFrequencyCorrection final : public ObservableObject
{
public:
    static constexpr auto profileKey = "micCorrectionProfile";
    static constexpr auto enabledKey = "micFreqCorrectionEnabled";

    /// Reads what is stored, and writes back at once whether the correction is on.
    explicit MicFrequencyCorrection(DefaultsStore& defaults);

    /// The measurement that is in force.
    Published<std::optional<MicCorrectionProfile>> profile{*this, {}};

    /// Each assignment is stored. Turning the correction on begins it from silence; turning it off leaves the
    /// filter's memory as it is.
    Published<bool> isEnabled{*this, false};

    /// Corrects the samples in place, by correlating what came before and them with the taps:
    /// out[i] = the sum over p of joined[i + p] * taps[p]. Leaves them as they are while the correction is
    /// off, without taps, at any other rate than the taps', and while a writer holds the lock. A filter of t
    /// symmetric taps delays by (t - 1) / 2 samples. Capture thread; neither blocks nor allocates.
    /// \param sampleRate hertz. \return whether they were corrected.
    bool apply(std::span<float> samples, double sampleRate);

    /// Puts the profile in force and stores it. Doesn't turn the correction on.
    void save(const MicCorrectionProfile& newProfile);

    /// Forgets the profile, turns the correction off and removes both keys.
    void clear();

    /// Reads the store anew, after somebody else has written to it.
    void reload();

private:
    void enabledChanged(bool isOn);
    void loadFromDefaults();
    std::optional<MicCorrectionProfile> storedProfile() const;
    void activate(std::vector<float> taps, double sampleRate);
    void resetOverlap();
    void filter(std::span<float> samples);

    DefaultsStore& m_defaults;
    std::atomic<bool> m_appliesTaps = false; ///< What isEnabled is, for the capture thread.

    /// Guards the members below. The capture thread only tries it.
    std::mutex m_lock;
    std::vector<float> m_activeTaps;
    double m_activeSampleRate = 0; ///< Hertz; 0 without a profile.

    /// The last samples before the ones to come, one less than taps, and behind them room for a block: so
    /// they need no joining.
    std::vector<float> m_joined;
    std::size_t m_overlapLength = 0;

    Subscription m_enabledChanges;
};

} // namespace velmor
