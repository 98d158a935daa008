// SPDX-License-Identifier: GPL-3.0-or-later
#include <meter/MeasuredHub.h>

#include <base/Text.h>

namespace velmor {

namespace {

/// The meter only adds to a history: it knows neither its owner's settings nor, at the clock of a file,
/// the age of what is in it.
SessionStorage storage(const Options& options)
{
    return options.historyFolder.empty()
               ? SessionStorage::nowhere()
               : SessionStorage::inFolder(options.historyFolder, SessionStorage::Retention::none);
}

} // namespace

MeasuredHub::MeasuredHub(MainLoop& loop, AudioCapture& capture, AudioHardware& hardware,
                         const Options& options)
    : m_loop(loop)
    , m_options(options)
    , m_levels(options.blocksPath, options.ticksPath)
    , m_notifications(loop, options.notificationsPath)
    , m_exports(options)
    , m_hub({loop, capture, hardware, m_playback, m_defaults, options.calendar, m_notifications, m_loginItem,
             m_workspace, storage(options)})
{}

MeasuredHub::~MeasuredHub()
{
    m_hub.sessionManager.discardSession();
}

void MeasuredHub::start(const std::string& deviceUID, const std::string& defaultName)
{
    m_hub.settings.conservativeDoseMode = m_options.conservative;
    ReferenceLevelSettings reference = m_hub.referenceTracker.settings;
    reference.target = m_options.target.value_or(reference.target);
    reference.tolerance = m_options.tolerance.value_or(reference.tolerance);
    m_hub.referenceTracker.settings = reference;
    m_hub.deviceManager.selectDevice(deviceUID);
    m_hub.deviceManager.selectedChannelIndex = m_options.channel - 1;
    // An offset counts as set on the chosen device.
    if (m_options.calibrationOffset)
        m_hub.settings.calibrationOffset = *m_options.calibrationOffset;
    m_levels.follow(m_loop, m_hub);
    m_hub.startSession(validUtf8(m_options.name.empty() ? defaultName : m_options.name));
}

void MeasuredHub::finish(Summary& summary)
{
    summary.blocks = m_levels.blockCount();
    m_hub.updateCalibrationTrust();
    summary.take(m_hub);
    m_hub.endSession();
    summary.session = m_hub.sessionManager.sessionHistory.get().front();
    summary.isSessionKept = !m_hub.sessionManager.hasUnsavedSessions();
    m_levels.commit();
    m_notifications.commit();
    summary.exportFailure = m_exports.write(m_hub, summary);
}

} // namespace velmor
