// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace velmor {

/// Levels in ascending order, for values at a rank. Additions and removals are gathered and put in
/// place together when a rank is asked for: one pass over the levels where a sort would be due.
class SortedWindow
{
public:
    /// Reserves its room.
    /// \param capacity the most levels there will be.
    /// \param mostChanges additions, and removals, that come together before a rank is asked for.
    SortedWindow(std::size_t capacity, std::size_t mostChanges);

    void add(double level);

    /// Takes away a level that was added before.
    void remove(double level);

    void clear();

    /// The level at an index from 0, which must be below the number of levels.
    double operator[](std::size_t index);

private:
    /// Integers in the order of the levels. It is a total one also for values that are no numbers, and
    /// puts -0 before 0.
    using Key = std::int64_t;

    void insertAdded();
    void eraseRemoved();

    std::vector<Key> m_keys; ///< Ascending.
    std::vector<Key> m_added;
    std::vector<Key> m_removed;
};

} // namespace velmor
