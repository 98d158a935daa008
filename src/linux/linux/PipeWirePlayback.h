// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/MainLoop.h>
#include <platform/AudioPlayback.h>

#include <memory>

namespace velmor {

class PipeWireGraph;

/// Plays on PipeWire's sinks. A stream is bound to its sink, also to the one that is the default when it
/// starts: where that goes away or is no longer the default, the stream doesn't move to another.
class PipeWirePlayback final : public AudioPlayback
{
public:
    PipeWirePlayback(MainLoop& loop, PipeWireGraph& graph)
        : m_loop(loop)
        , m_graph(graph)
    {}

    std::shared_ptr<PlaybackEngine> makeEngine() override;

private:
    MainLoop& m_loop;
    PipeWireGraph& m_graph;
};

} // namespace velmor
