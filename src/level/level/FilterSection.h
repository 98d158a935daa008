// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <span>
#include <vector>

namespace velmor {

/// b0, b1, b2, a1, a2 of a second-order section; a0 is 1.
using SectionCoefficients = std::array<double, 5>;

/// The two delay registers of a section, s1 and s2.
using SectionState = std::array<double, 2>;

/// Runs one section over the samples in place, in the transposed direct form II. Each result is
/// rounded to 32 bits, while the recursion goes on with the unrounded 64-bit value.
void runSection(const SectionCoefficients& coefficients, SectionState& state, std::span<float> samples);

/// Runs the sections one after the other, each over the first `count` samples before the next one
/// starts. A count that is negative or above the number of samples stops the program.
void runCascade(const std::vector<SectionCoefficients>& coefficients, std::vector<SectionState>& states,
                std::span<float> samples, std::ptrdiff_t count);

/// Scales the numerator of the first section so that the cascade's gain at exactly 1 kHz is 1 at the
/// sample rate fs (Hz). A gain that is not above 0 leaves the coefficients as they are.
void normalizeGainAt1kHz(std::vector<SectionCoefficients>& coefficients, double fs);

} // namespace velmor
