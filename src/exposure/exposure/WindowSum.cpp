// SPDX-License-Identifier: GPL-3.0-or-later
#include <exposure/WindowSum.h>

namespace velmor {

std::optional<double> WindowSum::add(const ReadingRing& ring)
{
    if (m_next < m_windows) {
        const double energy = ring.newest();
        for (double& sum : m_sums)
            sum += energy; // Into those that are used up too: they don't matter any more.
    } else {
        if (ring.size() < m_length)
            return std::nullopt;
        beginWindows(ring);
    }
    return m_sums[m_next++];
}

// The first window ends with the newest energy. The one at place i begins i energies later.
void WindowSum::beginWindows(const ReadingRing& ring)
{
    std::array<double, windowsAtOnce> sums = {};
    std::size_t begun = 0;
    ring.forNewest(m_length, [&](std::span<const double> energies) {
        std::size_t i = 0;
        for (; i < energies.size() && begun < m_windows; ++i) {
            ++begun;
            for (std::size_t window = 0; window < begun; ++window)
                sums[window] += energies[i];
        }
        for (; i < energies.size(); ++i) {
            for (double& sum : sums)
                sum += energies[i];
        }
    });
    m_sums = sums;
    m_next = 0;
}

} // namespace velmor
