// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>

namespace velmor {

/// Which sections the floating panel shows.
struct PanelSections
{
    bool dose = false;
    bool currentSPL = false;
    bool discipline = false;
    bool leq = false;
    bool activeSession = false;
    bool today = false;

    /// Without any the panel tells where to choose some.
    bool anySectionEnabled() const
    {
        return dose || currentSPL || discipline || leq || activeSession || today;
    }

    bool operator==(const PanelSections&) const = default;
};

/// Those that the user has chosen and that there is something to show in.
PanelSections panelSections(const AppState& hub);

/// Changes whenever a section of the panel comes or goes.
int panelLayoutSignature(const AppState& hub);

} // namespace velmor
