// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/WorkstationAliases.h>

#include <base/Text.h>
#include <linux/ProgramName.h>

#include <algorithm>
#include <array>

namespace velmor {

namespace {

struct Alias
{
    std::string_view name; ///< Lower case.
    std::string_view bundleID;
};

constexpr std::array ids = std::to_array<Alias>({
    {"fm.reaper.reaper", "com.cockos.reaper"},
    {"cockos-reaper", "com.cockos.reaper"},
    {"reaper", "com.cockos.reaper"},
    {"com.bitwig.bitwigstudio", "com.bitwig.studio"},
    {"bitwig-studio", "com.bitwig.studio"},
    {"org.audacityteam.audacity", "org.audacityteam.audacity"},
    {"audacity", "org.audacityteam.audacity"},
    {"com.blackmagicdesign.resolve", "com.blackmagic-design.DaVinciResolve"},
    {"davinciresolve", "com.blackmagic-design.DaVinciResolve"},
});

constexpr std::array programs = std::to_array<Alias>({
    {"reaper", "com.cockos.reaper"},
    {"bitwig-studio", "com.bitwig.studio"},
    {"bitwigstudio", "com.bitwig.studio"},
    {"audacity", "org.audacityteam.audacity"},
    {"resolve", "com.blackmagic-design.DaVinciResolve"},
});

/// Versions and editions may follow the name: "ableton live 12 suite.exe", "fl64.exe".
constexpr std::array windowsPrograms = std::to_array<Alias>({
    {"ableton live", "com.ableton.live"},
    {"cubase", "com.steinberg.cubase"},
    {"nuendo", "com.steinberg.nuendo"},
    {"fl64", "com.image-line.flstudio"},
    {"fl.exe", "com.image-line.flstudio"},
    {"fl studio", "com.image-line.flstudio"},
    {"studio one", "com.presonus.studioone"},
    {"protools", "com.avid.ProTools"},
    {"pro tools", "com.avid.ProTools"},
    {"adobe audition", "com.adobe.audition"},
    {"reaper.exe", "com.cockos.reaper"},
    {"bitwig studio", "com.bitwig.studio"},
    {"audacity.exe", "org.audacityteam.audacity"},
    {"resolve.exe", "com.blackmagic-design.DaVinciResolve"},
});

std::optional<std::string> bundleIDIn(const auto& table, const auto& isMeant)
{
    const auto row = std::ranges::find_if(table, isMeant, &Alias::name);
    return row != table.end() ? std::optional(std::string(row->bundleID)) : std::nullopt;
}

} // namespace

std::optional<std::string> workstationWithID(std::string_view id)
{
    return bundleIDIn(ids, [lower = lowerCase(id)](std::string_view name) { return name == lower; });
}

std::optional<std::string> workstationOfProgram(std::string_view program)
{
    const std::string lower = lowerCase(program);
    if (!lower.ends_with(".exe"))
        return bundleIDIn(programs, [&lower](std::string_view name) { return name == lower; });
    if (isHelperName(lower))
        return std::nullopt;
    return bundleIDIn(windowsPrograms, [&lower](std::string_view name) { return lower.starts_with(name); });
}

} // namespace velmor
