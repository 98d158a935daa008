// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <support/HubHost.h>
#include <support/TemporaryFolder.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace velmor::test {

/// The whole hub over generated days: workstations that start and quit, levels, pauses, midnights, clock
/// changes, sleep, a lost microphone, a full disk, crashes. A seed makes a run. After every event the
/// invariants are checked; one that is broken fails the test that runs it.
class HubSimulation
{
public:
    explicit HubSimulation(std::uint64_t seed);
    ~HubSimulation();
    HubSimulation(const HubSimulation&) = delete;
    HubSimulation& operator=(const HubSimulation&) = delete;

    /// Runs so many days of simulated wall-clock time, until an invariant breaks.
    void run(int days);

    /// What has happened, by name.
    const std::map<std::string, int>& events() const { return m_events; }

private:
    enum class DoseMayFall { no, yes };

    /// What was seen of a kind of notification the last time.
    struct LastSeen
    {
        Date moment;
        std::int64_t clockChanges = 0;
    };

    double uniform(double from, double to);
    bool chance(double probability);
    void note(const char* event) { ++m_events[event]; }

    void startHub();
    void pass(double seconds);
    void happen();
    void setLevels();

    void startSession(const std::string& name, bool byWorkstation);
    void endSession(bool byWorkstation);
    void crash();
    void setDiskFull(bool isFull);
    void loseMicrophone();
    void setClock();
    void changeSettings();
    void deleteSomeSession();

    void check(DoseMayFall doseMayFall = DoseMayFall::no);
    void checkServices(DoseMayFall doseMayFall = DoseMayFall::no);
    void checkDose(DoseMayFall doseMayFall);
    void checkHistory();
    void checkNotifications();
    void checkSession();
    void checkEndedSession(const Session& session, std::int64_t ticks);
    double todaysSessionDoses() const;

    std::mt19937_64 m_random;
    TemporaryFolder m_folder;
    HubHost m_host;
    std::unique_ptr<AppState> m_hub;
    Timer m_levelTimer;
    std::map<std::string, int> m_events;

    double m_level = 60;
    bool m_isDiskFull = false;
    bool m_historyIsOnDisk = true;
    std::int64_t m_clockChanges = 0;

    double m_lastDose = 0;
    Date m_lastCheck;
    Date m_latestBeforeSetBack; ///< The latest moment from which the clock went back over a midnight.

    std::int64_t m_ticksAtBegin = 0;
    bool m_isDisciplineSteady = true;
    bool m_hadClockChange = false;
    std::map<std::string, int> m_alertsOfSession;
    std::map<std::string, LastSeen> m_lastSeen;
};

} // namespace velmor::test
