// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <string>

namespace velmor::Constants {

/// The workstations that are watched for from the start: display names by identifier. The identifiers are
/// those that the histories of all desktops share; the workspace finds the programs behind them.
inline const std::map<std::string, std::string> knownDAWBundleIDs = {
    {"com.apple.logic10", "Logic Pro"},
    {"com.apple.garageband", "GarageBand"},
    {"com.avid.ProTools", "Pro Tools"},
    {"com.uaudio.luna", "LUNA"},
    {"com.ableton.live", "Ableton Live"},
    {"com.cockos.reaper", "REAPER"},
    {"com.steinberg.cubase", "Cubase"},
    {"com.steinberg.nuendo", "Nuendo"},
    {"com.presonus.studioone", "Studio One"},
    {"com.image-line.flstudio", "FL Studio"},
    {"com.bitwig.studio", "Bitwig Studio"},
    {"org.audacityteam.audacity", "Audacity"},
    {"com.adobe.audition", "Adobe Audition"},
    {"com.apple.FinalCutPro", "Final Cut Pro"},
    {"com.blackmagic-design.DaVinciResolve", "DaVinci Resolve"},
};

/// The key of the user's own workstations in the defaults store: display names by identifier.
inline constexpr auto customDAWsKey = "Velmor.customDAWBundleIDs";

} // namespace velmor::Constants
