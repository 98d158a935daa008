// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <support/SharedPage.h>

#include <atomic>
#include <cstdint>

namespace velmor::test {

/// What the writer of a dose has restored and has in memory.
struct DoseProgress
{
    std::atomic<int> isReady;
    std::atomic<double> restoredDose;
    std::atomic<std::int64_t> restoredPeakCount;
    std::atomic<double> dose;
    std::atomic<std::int64_t> peakCount;
};

using DosePage = SharedPage<DoseProgress>;

} // namespace velmor::test
