// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/MainLoop.h>
#include <base/Observable.h>
#include <linux/PipeWireGraph.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmor {

/// The highest sample of a sound that is played to the user: 26 dB below full scale, whatever the file
/// holds. The loudspeakers are monitors, and whoever sits before them may have set them loud.
inline constexpr float alertSoundPeak = 0.05F;

/// A sound of the desktop's theme, ready to be played.
struct ThemeSound
{
    int sampleRate = 0;
    int channelCount = 0;
    std::vector<float> samples; ///< Interleaved; none beyond alertSoundPeak.
};

/// Finds and reads a sound of the freedesktop theme by its name ("dialog-warning"). Absent where there is
/// none that can be read.
std::optional<ThemeSound> readThemeSound(const std::vector<std::filesystem::path>& dataFolders,
                                         const std::string& name);

/// Plays the theme's sounds, one at a time, on the system's default output. Main thread.
class AlertSound
{
public:
    AlertSound(MainLoop& loop, PipeWireGraph& graph, std::vector<std::filesystem::path> dataFolders);
    ~AlertSound();
    AlertSound(const AlertSound&) = delete;
    AlertSound& operator=(const AlertSound&) = delete;

    /// Does nothing while another one plays, without a server, and for a name that the theme doesn't have.
    void play(const std::string& name);

private:
    class Playback;

    MainLoop& m_loop;
    PipeWireGraph& m_graph;
    std::vector<std::filesystem::path> m_dataFolders;
    std::unique_ptr<Playback> m_playback;
    Timer m_limit; ///< Ends a playback that doesn't end by itself.
    std::unique_ptr<Doorbell> m_endBell;
    Subscription m_graphChanges;
};

} // namespace velmor
