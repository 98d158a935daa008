// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/MainLoop.h>
#include <base/Observable.h>
#include <linux/PipeWireGraph.h>
#include <platform/NotificationCenter.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmor {

/// The highest sample of a sound that is played to the user: 32 dB below full scale, 26 for a critical one,
/// whatever the file holds. The loudspeakers are monitors, and whoever sits before them may have set them
/// loud.
float alertSoundPeak(NotificationSound kind);

/// A sound of the desktop's theme, ready to be played.
struct ThemeSound
{
    int sampleRate = 0;
    int channelCount = 0;
    std::vector<float> samples; ///< Interleaved.
};

/// Finds and reads a sound of the freedesktop theme by its name ("dialog-warning"), with no sample beyond
/// the peak. Absent where there is none that can be read.
std::optional<ThemeSound> readThemeSound(const std::vector<std::filesystem::path>& dataFolders,
                                         const std::string& name, float peak);

/// Plays the theme's sounds, one at a time, on the system's default output. Main thread.
class AlertSound
{
public:
    AlertSound(MainLoop& loop, PipeWireGraph& graph, std::vector<std::filesystem::path> dataFolders);
    ~AlertSound();
    AlertSound(const AlertSound&) = delete;
    AlertSound& operator=(const AlertSound&) = delete;

    /// A critical one ends one that plays. Otherwise does nothing while another one plays, without a server,
    /// and for a name that the theme doesn't have.
    void play(const std::string& name, NotificationSound kind);

private:
    class Playback;

    MainLoop& m_loop;
    PipeWireGraph& m_graph;
    std::vector<std::filesystem::path> m_dataFolders;
    std::unique_ptr<Playback> m_playback;
    Timer m_limit; ///< Ends a playback that doesn't end by itself.
    Subscription m_graphChanges;
};

} // namespace velmor
