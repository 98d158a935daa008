// SPDX-License-Identifier: GPL-3.0-or-later
#include <meter/LiveMeasurement.h>

#include <app/AppState.h>
#include <base/JsonWriter.h>
#include <base/Text.h>
#include <linux/PipeWireCapture.h>
#include <linux/PipeWireGraph.h>
#include <linux/PollMainLoop.h>
#include <meter/MeasuredHub.h>
#include <meter/MeterError.h>

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace velmor {

namespace {

constexpr double checkIntervalSeconds = 0.05;

void checkConnection(const PipeWireGraph& graph)
{
    if (!graph.isConnected())
        throw MeterError("no connection to PipeWire: is it running in this session?");
}

/// \return the number of channels of the input that is asked for.
int checkInput(const Options& options, const PipeWireGraph& graph)
{
    checkConnection(graph);
    std::optional<PipeWireGraph::Endpoint> source = graph.defaultSource();
    if (!options.device.empty()) {
        const auto devices = graph.inputDevices();
        const auto found = std::ranges::find(devices, options.device, &AudioDevice::uid);
        if (found == devices.end())
            throw MeterError(fmt::format("{}: no such input device (see --list-devices)", options.device));
        source = graph.source(found->id);
    }
    if (!source)
        throw MeterError("the system has no input device");
    const int channelCount = static_cast<int>(source->channelPositions.size());
    if (options.channel > channelCount)
        throw MeterError(
            fmt::format("{}: no channel {}, the device has {}", source->name, options.channel, channelCount));
    return channelCount;
}

} // namespace

Summary measureLive(const Options& options, const volatile std::sig_atomic_t& interrupted)
{
    PollMainLoop loop;
    PipeWireGraph graph(loop);
    const int channelCount = checkInput(options, graph);

    PipeWireCapture capture(loop, graph);
    MeasuredHub measured(loop, capture, graph, options);
    AppState& hub = measured.hub();

    Summary summary;
    summary.device = options.device;
    summary.channel = options.channel;
    summary.channelCount = channelCount;
    summary.conservative = options.conservative;

    bool isLost = false;
    hub.audioService.onDeviceDisconnected = [&, endSession = hub.audioService.onDeviceDisconnected] {
        endSession();
        isLost = true;
        loop.quit();
    };
    measured.start(options.device, "Manual");
    if (!hub.audioService.isRunning)
        throw MeterError("capture could not be started");
    const Timer check = loop.every(checkIntervalSeconds, [&] {
        if (interrupted || !hub.audioService.isRunning)
            loop.quit();
    });
    if (options.seconds)
        loop.after(*options.seconds, [&] { loop.quit(); });
    loop.run();
    const bool isBroken = isLost || !hub.audioService.isRunning;
    // What was measured until then is a session all the same.
    if (isBroken && hub.sessionManager.currentSession.get() && measured.blockCount() > 0)
        hub.endSession();
    if (isLost)
        throw MeterError(fmt::format("{}: the input device was disconnected", options.device));
    if (isBroken)
        throw MeterError("capture ended: the input can't be measured any more");
    if (measured.blockCount() == 0)
        throw MeterError("the input delivered no sound");

    summary.frames = measured.blockCount() * std::int64_t(AudioMeasurementService::tapBlockFrames);
    measured.finish(summary);
    return summary;
}

std::string deviceList(bool json)
{
    PollMainLoop loop;
    const PipeWireGraph graph(loop);
    checkConnection(graph);
    const auto defaultSource = graph.defaultSource();
    const auto isDefault = [&](const AudioDevice& device) {
        return defaultSource && defaultSource->name == device.uid;
    };

    if (!json) {
        std::string text;
        for (const AudioDevice& device : graph.inputDevices()) {
            const int channels = graph.inputChannelCount(device.id);
            fmt::format_to(std::back_inserter(text), "{} {}\n    {}, {} channel{}\n",
                           isDefault(device) ? '*' : ' ', forTerminal(device.uid),
                           forTerminal(device.displayName()), channels, channels == 1 ? "" : "s");
        }
        return text.empty() ? "No input devices.\n" : text + "\n* the system's default\n";
    }

    JsonWriter writer(JsonWriter::Layout::pretty);
    writer.beginArray();
    for (const AudioDevice& device : graph.inputDevices()) {
        writer.beginObject();
        writer.member("uid", std::string_view(device.uid));
        writer.member("name", std::string_view(device.name));
        writer.member("manufacturer", std::string_view(device.manufacturer));
        writer.member("channelCount", std::int64_t(graph.inputChannelCount(device.id)));
        writer.member("isDefault", isDefault(device));
        writer.endObject();
    }
    writer.endArray();
    return writer.text().value() + "\n";
}

} // namespace velmor
