// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exposure/ReadingRing.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

namespace velmor {

/// The sum of the newest `length` energies, added up from the oldest to the newest: to the last bit
/// what a loop over the window gives. A running sum, to which the newest is added and from which the
/// oldest is taken, would gather rounding errors, by decibels where a loud stretch leaves the window.
///
/// Each window begins one energy later than the one before, so none of the additions can be used
/// twice; but they can be done at the same time. Whenever the windows at hand are used up, those of
/// the next `windowsAtOnce` readings are begun together, side by side, with the energies that are
/// known already. The rest is added to them as it comes.
class WindowSum
{
public:
    /// \param length of the window in readings, above 0.
    explicit WindowSum(std::size_t length)
        : m_length(length)
        , m_windows(std::min(length, windowsAtOnce))
        , m_next(m_windows)
    {}

    /// Takes the newest energy, which is in the ring already. \return the sum; absent while the ring
    /// holds fewer than `length`.
    std::optional<double> add(const ReadingRing& ring);

    /// For an empty ring.
    void reset() { m_next = m_windows; }

private:
    static constexpr std::size_t windowsAtOnce = 16;

    void beginWindows(const ReadingRing& ring);

    std::size_t m_length;
    std::size_t m_windows; ///< Begun together: a window that is shorter reaches back no further.
    std::array<double, windowsAtOnce> m_sums = {};
    std::size_t m_next; ///< Which of the sums is the next to be complete.
};

} // namespace velmor
