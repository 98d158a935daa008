// SPDX-License-Identifier: GPL-3.0-or-later
// What the streams of this program have in common. For the files that talk to PipeWire.
#pragma once

#include <pipewire/pipewire.h>
#include <spa/param/audio/raw.h>

#include <atomic>
#include <cstdint>

namespace velmor {

/// A stream that the main thread makes and destroys, and that PipeWire's threads know.
class PipeWireStream
{
public:
    PipeWireStream() = default;
    PipeWireStream(const PipeWireStream&) = delete;
    PipeWireStream& operator=(const PipeWireStream&) = delete;

    void operator=(pw_stream* stream) { m_stream = stream; }

    /// Null while there is none. Any thread.
    operator pw_stream*() const { return m_stream; }

    /// Ends the data thread's work on the stream before it returns. The listener stays until then: taken away
    /// by itself, it would be taken from under that thread. Under a PipeWireLock.
    void destroy();

    /// What the stream tells of its state is no news. Under a PipeWireLock, which PipeWire's loop thread
    /// holds too.
    bool isEnding() const { return m_isEnding; }

private:
    std::atomic<pw_stream*> m_stream = nullptr;
    bool m_isEnding = false;
};

/// Connects the stream in that one format, to be processed on PipeWire's data thread. Under a PipeWireLock.
/// \return 0, or a negative errno value.
int connectStream(pw_stream* stream, pw_direction direction, const spa_audio_info_raw& format);

/// For a stream's control_info event. The session manager remembers a volume for each kind of stream and lets
/// mixers change it, which would shift every level: it is put back to what changes nothing.
void keepNeutral(pw_stream* stream, std::uint32_t controlID, const pw_stream_control* control);

} // namespace velmor
