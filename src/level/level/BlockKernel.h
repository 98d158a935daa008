// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <level/VectorUnit.h>

#include <cstddef>
#include <span>

namespace velmor {

class AWeightingFilter;
class CWeightingFilter;

/// What one weighting path tells of one block.
struct PathSums
{
    float peak = 0;          ///< Highest absolute sample.
    double sumOfSquares = 0; ///< Each sample widened to 64 bits before squaring.

    bool operator==(const PathSums&) const = default;
};

/// Runs one block through both weighting filters at once.
///
/// A section's recursion is one chain of dependent operations, which leaves most of the processor
/// idle. So the six sections run side by side in vector lanes, each lane some samples behind the one
/// that feeds it. The samples, the filters' registers, the sums and the peaks are bit for bit those
/// of running AWeightingFilter::process and CWeightingFilter::process and walking the results.
class BlockKernel
{
public:
    explicit BlockKernel(VectorUnit unit = bestVectorUnit())
        : m_unit(unit)
    {}

    struct Result
    {
        PathSums a;
        PathSums c;
    };

    /// Weights the block into the fronts of the two scratch arrays, each at least as long as the
    /// block. Capture thread; allocates nothing.
    Result weigh(AWeightingFilter& aFilter, CWeightingFilter& cFilter, std::span<const float> block,
                 std::span<float> aScratch, std::span<float> cScratch) const;

private:
    VectorUnit m_unit;
};

} // namespace velmor
