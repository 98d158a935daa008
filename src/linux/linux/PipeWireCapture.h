// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/MainLoop.h>
#include <platform/AudioCapture.h>

#include <functional>
#include <memory>

namespace velmor {

class PipeWireGraph;

/// Captures from PipeWire's sources. Outside a sandbox the right to listen is the connection itself.
class PipeWireCapture final : public AudioCapture
{
public:
    PipeWireCapture(MainLoop& loop, PipeWireGraph& graph)
        : m_loop(loop)
        , m_graph(graph)
    {}

    CaptureAuthorization authorizationStatus() const override;
    void requestAccess(std::function<void(bool granted)> answer) override;
    std::shared_ptr<CaptureEngine> makeEngine() override;

private:
    MainLoop& m_loop;
    PipeWireGraph& m_graph;
};

} // namespace velmor
