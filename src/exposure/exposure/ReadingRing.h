// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

namespace velmor {

/// The newest values of a series, up to a fixed number. Reserves its room at construction.
class ReadingRing
{
public:
    /// \param capacity above 0.
    explicit ReadingRing(std::size_t capacity)
        : m_capacity(capacity)
    {
        m_values.reserve(capacity);
    }

    /// Appends; the oldest value makes room where the ring is full.
    void add(double value)
    {
        if (m_values.size() < m_capacity) {
            m_values.push_back(value);
            return;
        }
        m_values[m_oldest] = value;
        m_oldest = m_oldest + 1 < m_capacity ? m_oldest + 1 : 0;
    }

    void clear()
    {
        m_values.clear();
        m_oldest = 0;
    }

    std::size_t size() const { return m_values.size(); }
    bool isFull() const { return m_values.size() == m_capacity; }

    /// There must be one.
    double oldest() const { return m_values[m_oldest]; }
    double newest() const { return m_values[m_oldest > 0 ? m_oldest - 1 : m_values.size() - 1]; }

    /// Calls back with the newest `count` values, oldest first, in one or two pieces. There must be so
    /// many.
    template <typename Function>
    void forNewest(std::size_t count, Function function) const
    {
        const std::span<const double> all = m_values;
        const std::size_t atEnd = all.size() - m_oldest; // The older piece lies at the end.
        const std::size_t skipped = all.size() - count;
        if (skipped < atEnd)
            function(all.subspan(m_oldest + skipped));
        const std::size_t skippedAtFront = std::max(skipped, atEnd) - atEnd;
        if (skippedAtFront < m_oldest)
            function(all.subspan(skippedAtFront, m_oldest - skippedAtFront));
    }

private:
    std::size_t m_capacity;
    std::vector<double> m_values;
    std::size_t m_oldest = 0; ///< 0 until the ring is full.
};

} // namespace velmor
