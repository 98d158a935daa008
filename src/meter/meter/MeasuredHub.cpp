// SPDX-License-Identifier: GPL-3.0-or-later
#include <meter/MeasuredHub.h>

#include <meter/MeterError.h>
#include <sessions/SessionJournal.h>

#include <fmt/format.h>

namespace velmor {

namespace {

SessionStorage storage(const Options& options)
{
    return options.historyFolder.empty() ? SessionStorage::nowhere()
                                         : SessionStorage::inFolder(options.historyFolder);
}

} // namespace

MeasuredHub::MeasuredHub(MainLoop& loop, AudioCapture& capture, const AudioHardware& hardware,
                         const Options& options)
    : m_loop(loop)
    , m_options(options)
    , m_levels(options.blocksPath, options.ticksPath)
    , m_notifications(loop, options.notificationsPath)
    , m_hub({loop, capture, hardware, m_defaults, options.calendar, m_notifications, m_loginItem,
             storage(options)})
{}

MeasuredHub::~MeasuredHub()
{
    const auto& session = m_hub.sessionManager.currentSession.get();
    if (session && !m_options.historyFolder.empty())
        SessionJournals::remove(m_options.historyFolder, session->id);
}

void MeasuredHub::start(const std::string& deviceUID, const std::string& defaultName)
{
    m_hub.settings.calibrationOffset = m_options.calibrationOffset;
    m_hub.settings.conservativeDoseMode = m_options.conservative;
    ReferenceLevelSettings reference = m_hub.referenceTracker.settings;
    reference.target = m_options.target.value_or(reference.target);
    reference.tolerance = m_options.tolerance.value_or(reference.tolerance);
    m_hub.referenceTracker.settings = reference;
    m_hub.deviceManager.selectDevice(deviceUID);
    m_hub.deviceManager.selectedChannelIndex = m_options.channel - 1;
    m_levels.follow(m_loop, m_hub);
    m_hub.startSession(m_options.name.empty() ? defaultName : m_options.name);
}

void MeasuredHub::finish(Summary& summary)
{
    summary.blocks = m_levels.blockCount();
    summary.take(m_hub);
    m_hub.endSession();
    summary.session = m_hub.sessionManager.sessionHistory.get().front();
    if (m_hub.sessionManager.hasUnsavedSessions())
        throw MeterError(fmt::format("{}: the session could not be kept there", m_options.historyFolder));
    m_levels.commit();
    m_notifications.commit();
}

} // namespace velmor
