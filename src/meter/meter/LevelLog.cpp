// SPDX-License-Identifier: GPL-3.0-or-later
#include <meter/LevelLog.h>

#include <base/JsonWriter.h>

namespace velmor {

LevelLog::LevelLog(const std::string& blocksPath, const std::string& ticksPath)
    : m_blocks(OutputFile::openedUnlessEmpty(blocksPath))
    , m_ticks(OutputFile::openedUnlessEmpty(ticksPath))
{}

void LevelLog::follow(MainLoop& loop, AppState& hub)
{
    // The peak alert is what the service sets last of a block.
    m_blockSubscription = hub.audioService.peakAlert.subscribe([this, &hub](bool) {
        if (hub.audioService.isRunning)
            writeBlock(hub);
    });
    if (m_ticks) {
        m_tickTimer = loop.every(AppState::tickIntervalSeconds, [this, &loop, &hub, start = loop.now()] {
            writeTick(hub, secondsBetween(start, loop.now()));
        });
    }
}

void LevelLog::writeBlock(const AppState& hub)
{
    const std::int64_t block = m_blockCount++;
    if (!m_blocks)
        return;
    const AudioMeasurementService& service = hub.audioService;
    JsonWriter json(JsonWriter::Layout::compact);
    json.beginObject();
    json.member("block", block);
    json.member("smoothedDBA", service.currentSPL.get());
    json.member("smoothedDBC", service.currentDBC.get());
    json.member("peakDBA", service.peakDBA.get());
    json.member("peakDBC", service.peakDBC.get());
    json.member("peakAlert", service.peakAlert.get());
    json.endObject();
    m_blocks->writeLine(json.text().value());
}

void LevelLog::writeTick(const AppState& hub, double seconds)
{
    const AudioMeasurementService& service = hub.audioService;
    JsonWriter json(JsonWriter::Layout::compact);
    json.beginObject();
    json.member("t", seconds);
    json.member("spl", service.currentSPL.get());
    json.member("dbc", service.currentDBC.get());
    json.member("peakDBA", service.peakDBA.get());
    json.member("peakDBC", service.peakDBC.get());
    json.member("dosePercentage", hub.doseCalculator.dosePercentage.get());
    json.endObject();
    m_ticks->writeLine(json.text().value());
}

void LevelLog::commit()
{
    m_blockSubscription.disconnect();
    m_tickTimer.reset();
    if (m_blocks)
        m_blocks->commit();
    if (m_ticks)
        m_ticks->commit();
}

} // namespace velmor
