// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <support/CapturedOutput.h>
#include <support/HubHost.h>
#include <support/SampleSessions.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmor::test {

/// A hub in memory that is brought into a state by hand.
struct PosedHub
{
    PosedHub()
        : hub(std::make_unique<AppState>(host.host()))
    {
        host.loop.runPosted();
    }

    /// Lets the services tell what they have to.
    void settle() { host.loop.runPosted(); }

    void dose(double percentage)
    {
        hub->doseCalculator.overrideDose(percentage);
        settle();
    }

    void session(const std::string& name)
    {
        hub->startSession(name);
        settle();
    }

    /// Puts figures of the running session in its place.
    void changeSession(const std::function<void(Session&)>& change)
    {
        Session changed = hub->sessionManager.currentSession.get().value();
        change(changed);
        hub->sessionManager.currentSession = changed;
    }

    void history(std::vector<Session> sessions) { hub->sessionManager.sessionHistory = std::move(sessions); }

    void discipline(double under, double onTarget, double over, std::optional<double> deviation)
    {
        hub->referenceTracker.secondsUnder = under;
        hub->referenceTracker.secondsOnTarget = onTarget;
        hub->referenceTracker.secondsOver = over;
        hub->referenceTracker.currentDeviation = deviation;
    }

    void statistics(double level)
    {
        hub->leqStatistics.leq1min = level;
        hub->leqStatistics.leq10min = level - 1.3;
        hub->leqStatistics.l10 = level + 3.1;
        hub->leqStatistics.l50 = level - 0.9;
        hub->leqStatistics.l90 = level - 14.2;
    }

    const QuietLines quietLines;
    HubHost host;
    std::unique_ptr<AppState> hub;
};

struct PopoverState
{
    const char* name;
    void (*pose)(PosedHub& posed);
};

/// The states that a day of work brings.
inline const std::vector<PopoverState>& popoverStates()
{
    static const std::vector<PopoverState> states = {
        {"stopped", [](PosedHub&) {}},
        {"mixing",
         [](PosedHub& posed) {
             posed.history({sampleSession(posed.host.loop.now() - std::chrono::hours(2), 240, 3)});
             posed.session("REAPER");
             posed.dose(23.4);
             setLevels(*posed.hub, 78.4, 82.1);
             posed.discipline(420, 1900, 260, 1.2);
             posed.statistics(78.9);
             posed.changeSession([&](Session& session) {
                 session.startDate = posed.host.loop.now() - std::chrono::minutes(42);
                 session.averageSPL = 78.6;
                 session.peakSPL = 91.3;
                 session.peakDBC = 118;
             });
         }},
        {"loud",
         [](PosedHub& posed) {
             posed.session("Manual Session");
             posed.dose(84.2);
             setLevels(*posed.hub, 96.4, 107.1, 141.2, 118);
             posed.hub->audioService.peakAlert = true;
             posed.discipline(10, 60, 500, 17.4);
             posed.statistics(95.2);
             posed.hub->doseCalculator.todayPeakDBC = 141.2;
             posed.hub->doseCalculator.peakCount135 = 5;
             posed.hub->doseCalculator.peakCount140 = 2;
             posed.hub->doseCalculator.peakDBACount115 = 3;
             posed.changeSession([&](Session& session) {
                 session.startDate = posed.host.loop.now() - std::chrono::minutes(125);
                 session.averageSPL = 95.8;
                 session.peakSPL = 104.9;
                 session.peakDBC = 141.2;
                 session.peakCount135 = 5;
                 session.peakCount140 = 2;
                 session.peakDBACount115 = 3;
             });
             posed.hub->settings.conservativeDoseMode = true;
         }},
        {"paused",
         [](PosedHub& posed) {
             posed.session("Ardour");
             posed.dose(45.9);
             setLevels(*posed.hub, 52.3, 58.7);
             posed.discipline(4, 12, 3, std::nullopt);
             posed.hub->pauseService.pause(1800.0, posed.hub->now());
         }},
        {"overexposed",
         [](PosedHub& posed) {
             posed.history({sampleSession(posed.host.loop.now() - std::chrono::hours(3), 720, 5),
                            sampleSession(posed.host.loop.now() - std::chrono::hours(6), 720, 6)});
             posed.dose(250);
         }},
    };
    return states;
}

} // namespace velmor::test
