// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace velmor {

/// Counts come from files too, which can hold any number: a sum that none can hold stays at what there is.
inline void addCount(std::int64_t& sum, std::int64_t count)
{
    std::int64_t result = 0;
    if (!__builtin_add_overflow(sum, count, &result))
        sum = result;
}

} // namespace velmor
