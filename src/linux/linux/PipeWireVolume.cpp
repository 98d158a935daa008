// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/PipeWireVolume.h>

#include <spa/param/audio/raw.h>
#include <spa/param/props.h>
#include <spa/pod/iter.h>
#include <spa/utils/type.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace velmor {

void PipeWireVolume::take(const spa_pod* properties)
{
    if (!properties || !spa_pod_is_object(properties))
        return;
    const auto* object = reinterpret_cast<const spa_pod_object*>(properties);
    const spa_pod_prop* property = nullptr;
    SPA_POD_OBJECT_FOREACH(object, property)
    {
        if (property->key == SPA_PROP_volume) {
            spa_pod_get_float(&property->value, &all);
        } else if (property->key == SPA_PROP_mute) {
            spa_pod_get_bool(&property->value, &isMuted);
        } else if (property->key == SPA_PROP_channelVolumes) {
            float volumes[SPA_AUDIO_MAX_CHANNELS];
            const std::uint32_t count =
                spa_pod_copy_array(&property->value, SPA_TYPE_Float, volumes, std::size(volumes));
            channels.assign(volumes, volumes + std::min<std::size_t>(count, std::size(volumes)));
        }
    }
}

std::optional<InputVolume> PipeWireVolume::ofChannel(std::size_t channel) const
{
    if (channel >= channels.size())
        return std::nullopt;
    const double gain = static_cast<double>(all) * static_cast<double>(channels[channel]);
    return std::isfinite(gain) ? std::optional(InputVolume{gain, isMuted}) : std::nullopt;
}

} // namespace velmor
