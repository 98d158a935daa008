// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <support/PrivateAudioSession.h>

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstddef>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

namespace velmor::test {

/// What is played on the loudspeaker "monitors" is heard by the microphone "testmic", directly or through a
/// room that lifts 1.5 kHz by 5 dB and dips 6 kHz by 4 dB.
class VirtualRoom
{
public:
    explicit VirtualRoom(PrivateAudioSession& session)
        : m_session(session)
    {}

    /// The room's gain, dB, by the formula of the audio EQ cookbook's peaking filter.
    static double gainDB(double frequency, double sampleRate)
    {
        double gain = 0;
        const std::complex<double> z = std::polar(1.0, -2 * std::numbers::pi * frequency / sampleRate);
        for (std::size_t i = 0; i < 2; ++i) {
            const double w = 2 * std::numbers::pi * frequencies[i] / sampleRate;
            const double alpha = std::sin(w) / (2 * q);
            const double a = std::pow(10, gains[i] / 40);
            const auto numerator = 1 + alpha * a - 2 * std::cos(w) * z + (1 - alpha * a) * z * z;
            const auto denominator = 1 + alpha / a - 2 * std::cos(w) * z + (1 - alpha / a) * z * z;
            gain += 20 * std::log10(std::abs(numerator / denominator));
        }
        return gain;
    }

    /// The gain, dB, that evens the room out: the correction keeps the level of 400 Hz to 16 kHz, taken over
    /// the bins of its analysis.
    static double correctionDB(double frequency, double sampleRate)
    {
        constexpr int first = 17;
        constexpr int last = 682;
        constexpr int transform = 2048;
        double mean = 0;
        for (int bin = first; bin <= last; ++bin)
            mean += gainDB(bin * sampleRate / transform, sampleRate) / (last - first + 1);
        return mean - gainDB(frequency, sampleRate);
    }

    void createDevices()
    {
        m_session.createNode("monitors", "Audio/Sink", "FL FR");
        m_session.createMicrophone("testmic");
    }

    /// What is played goes to the microphone through the room.
    void linkThroughRoom()
    {
        std::string nodes;
        for (std::size_t i = 0; i < 2; ++i)
            nodes += "{ type = builtin name = eq" + std::to_string(i) +
                     " label = bq_peaking control = { Freq = " + std::to_string(frequencies[i]) +
                     " Q = " + std::to_string(q) + " Gain = " + std::to_string(gains[i]) + " } } ";
        writeFile(m_session / "room.conf",
                  "context.spa-libs = { audio.convert.* = audioconvert/libspa-audioconvert "
                  "support.* = support/libspa-support }\n"
                  "context.modules = [ { name = libpipewire-module-protocol-native } "
                  "{ name = libpipewire-module-client-node } { name = libpipewire-module-adapter } "
                  "{ name = libpipewire-module-filter-chain args = { node.description = Room "
                  "filter.graph = { nodes = [ " +
                      nodes +
                      "] links = [ { output = \"eq0:Out\" input = \"eq1:In\" } ] } "
                      "audio.channels = 1 audio.position = [ MONO ] "
                      "capture.props = { node.name = room.in node.autoconnect = false } "
                      "playback.props = { node.name = room.out node.autoconnect = false } } } ]\n");
        m_filters = std::make_unique<Companion>(
            std::vector<std::string>{"pipewire", "-c", m_session / "room.conf"}, m_session / "room.log");
        ASSERT_TRUE(link("monitors:monitor_FL", "room.in:input_MONO")) << contentOf(m_session / "room.log");
        ASSERT_TRUE(link("room.out:output_MONO", "testmic:input_FL"));
    }

    /// What is played goes to the microphone as it is.
    void linkDirectly() const { ASSERT_TRUE(link("monitors:monitor_FL", "testmic:input_FL")); }

    /// Through the room again, as loud as before: together they are louder by 6.02 dB.
    void doubleLevel() const { ASSERT_TRUE(link("monitors:monitor_FR", "room.in:input_MONO")); }

private:
    static constexpr double frequencies[] = {1500, 6000};
    static constexpr double gains[] = {5, -4};
    static constexpr double q = 0.7;

    static bool link(const std::string& from, const std::string& to)
    {
        return PrivateAudioSession::waitUntil([&] { return run({"pw-link", from, to}).status == 0; });
    }

    PrivateAudioSession& m_session;
    std::unique_ptr<Companion> m_filters;
};

} // namespace velmor::test
