// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/PanelSections.h>

namespace velmor {

PanelSections panelSections(const AppState& hub)
{
    const AppSettings& settings = hub.settings;
    return {.dose = settings.panelShowsDose,
            .currentSPL = settings.panelShowsCurrentSPL,
            .discipline = settings.panelShowsDiscipline && hub.referenceTracker.settings.get().enabled,
            .leq = settings.panelShowsLeq,
            .activeSession =
                settings.panelShowsActiveSession && hub.sessionManager.currentSession.get().has_value(),
            .today = settings.panelShowsToday};
}

int panelLayoutSignature(const AppState& hub)
{
    const AppSettings& settings = hub.settings;
    int signature = 0;
    for (const bool fact : {settings.panelShowsDose.get(), settings.panelShowsCurrentSPL.get(),
                            settings.panelShowsDiscipline.get(), settings.panelShowsLeq.get(),
                            settings.panelShowsActiveSession.get(), settings.panelShowsToday.get(),
                            hub.sessionManager.currentSession.get().has_value(),
                            hub.referenceTracker.settings.get().enabled, hub.pauseService.isPaused.get()})
        signature = 2 * signature + (fact ? 1 : 0);
    return signature;
}

} // namespace velmor
