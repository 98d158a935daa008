// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <support/SharedPage.h>

#include <atomic>
#include <cstdint>

namespace velmor::test {

/// How far the writer of sessions has come. A session's number is its place among all that were started.
struct SessionProgress
{
    std::atomic<int> isReady;
    std::atomic<std::int64_t> started;  ///< Counts before the start.
    std::atomic<int> isRunning;         ///< The start has returned, the end has not.
    std::atomic<std::int64_t> readings; ///< Of the running session.
    std::atomic<std::int64_t> ended;    ///< Counts after the end.
    std::atomic<std::int64_t> secondsPassed;
};

using SessionPage = SharedPage<SessionProgress>;

} // namespace velmor::test
