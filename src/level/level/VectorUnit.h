// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace velmor {

/// What the hot loops are written for.
enum class VectorUnit {
    baseline, ///< Lanes of 128 bits, on every processor.
    avx2,     ///< Lanes of 256 bits, where x86-64 has AVX2.
};

/// The best that this processor has.
inline VectorUnit bestVectorUnit()
{
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2"))
        return VectorUnit::avx2;
#endif
    return VectorUnit::baseline;
}

} // namespace velmor
