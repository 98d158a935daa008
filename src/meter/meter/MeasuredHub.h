// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <base/MainLoop.h>
#include <meter/ExportFiles.h>
#include <meter/LevelLog.h>
#include <meter/NotificationLog.h>
#include <meter/Options.h>
#include <meter/Summary.h>
#include <platform/AudioCapture.h>
#include <platform/AudioHardware.h>
#include <platform/AudioPlayback.h>
#include <platform/LoginItem.h>
#include <platform/MemoryDefaultsStore.h>
#include <platform/Workspace.h>

#include <string>

namespace velmor {

/// The hub as the meter runs it: with the options as its settings, one session from start to end, and
/// files that are written along the way.
class MeasuredHub
{
public:
    /// Opens the files. \throws MeterError
    MeasuredHub(MainLoop& loop, AudioCapture& capture, AudioHardware& hardware, const Options& options);

    /// A session that has not ended leaves nothing behind.
    ~MeasuredHub();

    MeasuredHub(const MeasuredHub&) = delete;
    MeasuredHub& operator=(const MeasuredHub&) = delete;

    /// Selects the device and the channel, and starts the session with the logs.
    void start(const std::string& deviceUID, const std::string& defaultName);

    AppState& hub() { return m_hub; }
    std::int64_t blockCount() const { return m_levels.blockCount(); }

    /// Takes the figures, ends the session, finishes the files and exports the session. An export that fails
    /// is noted in the summary. \throws MeterError when another file can't be written.
    void finish(Summary& summary);

private:
    MainLoop& m_loop;
    const Options& m_options;
    MemoryDefaultsStore m_defaults;
    NoLoginItem m_loginItem;
    NoWorkspace m_workspace;
    NoPlayback m_playback;
    LevelLog m_levels;
    NotificationLog m_notifications;
    ExportFiles m_exports;
    AppState m_hub;
};

} // namespace velmor
