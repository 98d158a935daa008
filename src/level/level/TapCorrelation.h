// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <level/VectorUnit.h>

#include <span>

namespace velmor {

/// output[i] = the sum over p of input[i + p] * taps[p], in 32 bits, beginning at 0 with p = 0: a
/// correlation, the taps are not reversed. The input has one sample less than output and taps together.
///
/// A sum is one chain of dependent additions, so a tile of many outputs is taken through the taps at once:
/// the results are bit for bit those of one sum after the other. Capture thread; allocates nothing.
void correlate(std::span<const float> input, std::span<const float> taps, std::span<float> output,
               VectorUnit unit = bestVectorUnit());

} // namespace velmor
