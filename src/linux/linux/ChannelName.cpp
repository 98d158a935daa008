// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/ChannelName.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace velmor {

namespace {

struct PositionRow
{
    std::string_view position;
    std::string_view name;
};

constexpr std::array positions = std::to_array<PositionRow>({
    {"MONO", "Mono"},
    {"FL", "Front Left"},
    {"FR", "Front Right"},
    {"FC", "Front Center"},
    {"LFE", "Low Frequency"},
    {"SL", "Side Left"},
    {"SR", "Side Right"},
    {"FLC", "Front Left of Center"},
    {"FRC", "Front Right of Center"},
    {"RC", "Rear Center"},
    {"RL", "Rear Left"},
    {"RR", "Rear Right"},
    {"TC", "Top Center"},
    {"TFL", "Top Front Left"},
    {"TFC", "Top Front Center"},
    {"TFR", "Top Front Right"},
    {"TRL", "Top Rear Left"},
    {"TRC", "Top Rear Center"},
    {"TRR", "Top Rear Right"},
    {"RLC", "Rear Left of Center"},
    {"RRC", "Rear Right of Center"},
    {"FLW", "Front Left Wide"},
    {"FRW", "Front Right Wide"},
    {"LFE2", "Low Frequency 2"},
    {"FLH", "Front Left High"},
    {"FCH", "Front Center High"},
    {"FRH", "Front Right High"},
    {"TFLC", "Top Front Left of Center"},
    {"TFRC", "Top Front Right of Center"},
    {"TSL", "Top Side Left"},
    {"TSR", "Top Side Right"},
    {"LLFE", "Left Low Frequency"},
    {"RLFE", "Right Low Frequency"},
    {"BC", "Bottom Center"},
    {"BLC", "Bottom Left of Center"},
    {"BRC", "Bottom Right of Center"},
});

bool isNumber(std::string_view text)
{
    return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

} // namespace

std::optional<std::string> channelName(std::string_view position)
{
    constexpr std::string_view auxiliary = "AUX";
    if (position.starts_with(auxiliary) && isNumber(position.substr(auxiliary.size())))
        return "AUX " + std::string(position.substr(auxiliary.size()));
    const auto row = std::ranges::find(positions, position, &PositionRow::position);
    return row != positions.end() ? std::optional(std::string(row->name)) : std::nullopt;
}

} // namespace velmor
