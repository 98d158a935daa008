// SPDX-License-Identifier: GPL-3.0-or-later
#include <exposure/SortedWindow.h>

#include <algorithm>
#include <bit>
#include <limits>

namespace velmor {

namespace {

/// Flips the bits below the sign of a negative number, so that integers order as the numbers do. Its
/// own inverse.
std::int64_t flipped(std::int64_t bits)
{
    return bits >= 0 ? bits : bits ^ std::numeric_limits<std::int64_t>::max();
}

std::int64_t keyOf(double level)
{
    return flipped(std::bit_cast<std::int64_t>(level));
}

} // namespace

SortedWindow::SortedWindow(std::size_t capacity, std::size_t mostChanges)
{
    m_keys.reserve(capacity + mostChanges); // What is added goes in before what is removed goes out.
    m_added.reserve(mostChanges);
    m_removed.reserve(mostChanges);
}

void SortedWindow::add(double level)
{
    m_added.push_back(keyOf(level));
}

void SortedWindow::remove(double level)
{
    m_removed.push_back(keyOf(level));
}

void SortedWindow::clear()
{
    m_keys.clear();
    m_added.clear();
    m_removed.clear();
}

double SortedWindow::operator[](std::size_t index)
{
    insertAdded();
    eraseRemoved();
    return std::bit_cast<double>(flipped(m_keys[index]));
}

// From the back: each stretch of keys moves once, to its final place.
void SortedWindow::insertAdded()
{
    std::ranges::sort(m_added);
    auto end = m_keys.end() - m_keys.begin();
    m_keys.resize(m_keys.size() + m_added.size());
    auto place = m_keys.end();
    for (auto added = m_added.rbegin(); added != m_added.rend(); ++added) {
        const auto stretch = std::upper_bound(m_keys.begin(), m_keys.begin() + end, *added);
        place = std::move_backward(stretch, m_keys.begin() + end, place);
        *--place = *added;
        end = stretch - m_keys.begin();
    }
    m_added.clear();
}

void SortedWindow::eraseRemoved()
{
    if (m_removed.empty())
        return;
    std::ranges::sort(m_removed);
    auto place = std::lower_bound(m_keys.begin(), m_keys.end(), m_removed.front());
    auto stretch = place + 1;
    for (std::size_t i = 1; i < m_removed.size(); ++i) {
        const auto next = std::lower_bound(stretch, m_keys.end(), m_removed[i]);
        place = std::move(stretch, next, place);
        stretch = next + 1;
    }
    place = std::move(stretch, m_keys.end(), place);
    m_keys.erase(place, m_keys.end());
    m_removed.clear();
}

} // namespace velmor
