// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/MainLoop.h>
#include <platform/AudioCapture.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

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

    /// An engine's stream has failed for good: engines that are made within a second of it fail at once, so
    /// that nobody starts one after the other without end.
    void noteFailure();

private:
    MainLoop& m_loop;
    PipeWireGraph& m_graph;
    std::optional<std::chrono::steady_clock::time_point> m_lastFailure;
};

} // namespace velmor
