// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/PipeWireStream.h>

#include <spa/param/audio/format-utils.h>
#include <spa/param/props.h>

#include <algorithm>
#include <span>
#include <vector>

namespace velmor {

void PipeWireStream::destroy()
{
    if (!m_stream)
        return;
    m_isEnding = true;
    pw_stream_destroy(m_stream);
    m_stream = nullptr;
    m_isEnding = false;
}

int connectStream(pw_stream* stream, pw_direction direction, const spa_audio_info_raw& format)
{
    std::uint8_t buffer[1024];
    spa_pod_builder builder = {};
    spa_pod_builder_init(&builder, buffer, sizeof buffer);
    spa_audio_info_raw wanted = format;
    const spa_pod* parameter = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &wanted);
    return pw_stream_connect(stream, direction, PW_ID_ANY,
                             static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT |
                                                          PW_STREAM_FLAG_MAP_BUFFERS |
                                                          PW_STREAM_FLAG_RT_PROCESS),
                             &parameter, 1);
}

void keepNeutral(pw_stream* stream, std::uint32_t controlID, const pw_stream_control* control)
{
    if (controlID != SPA_PROP_volume && controlID != SPA_PROP_channelVolumes && controlID != SPA_PROP_mute)
        return;
    const float neutral = controlID == SPA_PROP_mute ? 0.0F : 1.0F;
    const std::span<const float> values(control->values, control->n_values);
    if (std::ranges::all_of(values, [neutral](float value) { return value == neutral; }))
        return;
    std::vector<float> neutralValues(values.size(), neutral);
    pw_stream_set_control(stream, controlID, static_cast<std::uint32_t>(neutralValues.size()),
                          neutralValues.data(), 0);
}

} // namespace velmor
