// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <base/MainLoop.h>
#include <base/Observable.h>
#include <meter/OutputFile.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace velmor {

/// Writes what the hub measures as it goes, one JSON object a line: a line for each block, and one for
/// each tick. Counts the blocks too.
class LevelLog
{
public:
    /// Opens the files; an empty path writes none. \throws MeterError
    LevelLog(const std::string& blocksPath, const std::string& ticksPath);

    /// Follows the hub from now on, the moment that ticks are counted from. To be called after the hub
    /// has been made, so that its tick comes first.
    void follow(MainLoop& loop, AppState& hub);

    /// Blocks that levels were made of.
    std::int64_t blockCount() const { return m_blockCount; }

    /// Finishes the files. \throws MeterError
    void commit();

private:
    void writeBlock(const AppState& hub);
    void writeTick(const AppState& hub, double seconds);

    std::unique_ptr<OutputFile> m_blocks;
    std::unique_ptr<OutputFile> m_ticks;
    std::int64_t m_blockCount = 0;
    Subscription m_blockSubscription;
    Timer m_tickTimer;
};

} // namespace velmor
