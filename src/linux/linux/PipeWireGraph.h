// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/MainLoop.h>
#include <base/Observable.h>
#include <platform/AudioHardware.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct pw_core;
struct pw_thread_loop;

namespace velmor {

/// The picture of PipeWire's graph: which audio nodes there are, which of them are the defaults, and at
/// what rate the graph runs. A device's `id` is the node's number, its `uid` the node's name.
///
/// Where there is no server, or it goes away, the devices become none, and the connection is made again
/// as soon as there is one.
///
/// Main thread, but for the callbacks of PipeWire's own loop thread, which keep the picture.
class PipeWireGraph final : public AudioHardware
{
public:
    /// Connects, and waits a moment for the first picture. Without a server there are no devices.
    explicit PipeWireGraph(MainLoop& loop);
    ~PipeWireGraph() override;
    PipeWireGraph(const PipeWireGraph&) = delete;
    PipeWireGraph& operator=(const PipeWireGraph&) = delete;

    /// A node that delivers sound, or one that takes it.
    struct Endpoint
    {
        std::uint32_t id = 0;
        std::string name;
        bool isDuplex = false; ///< Does both.
        /// One name of the "audio.position" vocabulary ("FL", "AUX0") for each channel.
        std::vector<std::string> channelPositions;

        bool operator==(const Endpoint&) const = default;
    };

    std::vector<AudioDevice> inputDevices() const override;
    std::vector<AudioDevice> outputDevices() const override;
    int inputChannelCount(std::uint32_t deviceID) const override;
    std::optional<std::string> inputChannelName(std::uint32_t deviceID, int channel) const override;
    std::optional<std::uint32_t> defaultInputDevice() const override;
    std::optional<InputVolume> inputVolume(std::uint32_t deviceID, int channel) const override;

    bool isConnected() const;
    std::optional<Endpoint> source(std::uint32_t id) const;
    std::optional<Endpoint> defaultSource() const;
    std::optional<Endpoint> sink(std::uint32_t id) const;
    std::optional<Endpoint> defaultSink() const;

    /// The graph's rate in hertz, as it is configured.
    std::uint32_t sampleRate() const;

    /// Calls back on the main thread after the picture has changed. Streams on a connection that is lost
    /// must be gone when the callback returns.
    [[nodiscard]] Subscription onChange(const std::function<void()>& callback) override;

    /// For streams of this connection. Absent without a server; to be asked and used under a
    /// PipeWireLock.
    pw_core* core() const;

    /// Null where PipeWire's library could not be set up.
    pw_thread_loop* threadLoop() const;

private:
    class Connection;

    void connectAgain();

    MainLoop& m_loop;
    std::unique_ptr<Connection> m_connection;
    Subscription m_ownChanges;
    Timer m_nextTry;
    int m_moments = 0; ///< Since the connection was lost.
};

/// Holds PipeWire's loop thread still while it lives.
class PipeWireLock
{
public:
    explicit PipeWireLock(pw_thread_loop* loop);
    ~PipeWireLock();
    PipeWireLock(const PipeWireLock&) = delete;
    PipeWireLock& operator=(const PipeWireLock&) = delete;

private:
    pw_thread_loop* m_loop;
};

} // namespace velmor
