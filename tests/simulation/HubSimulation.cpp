// SPDX-License-Identifier: GPL-3.0-or-later
#include <simulation/HubSimulation.h>

#include <sessions/SessionFormat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <set>

#include <sys/resource.h>

namespace velmor::test {

namespace {

constexpr double tick = 0.1;

struct Place
{
    const char* zone;
    const char* start;
};

/// Where and when a run may begin: among ordinary weeks those in which the clocks change, both ways, and
/// those whose midnight is skipped or comes twice.
constexpr Place places[] = {
    {"UTC", "2026-06-10T15:00:00Z"},
    {"Asia/Kolkata", "2026-02-25T04:00:00Z"},
    {"Europe/Berlin", "2026-03-26T07:00:00Z"},
    {"Europe/Berlin", "2026-10-22T06:00:00Z"},
    {"America/New_York", "2026-03-05T13:00:00Z"},
    {"America/New_York", "2026-10-29T13:00:00Z"},
    {"Africa/Cairo", "2026-04-21T08:00:00Z"},
    {"America/Havana", "2025-10-30T14:00:00Z"},
    {"Pacific/Apia", "2011-12-27T20:00:00Z"},
};

const Place& placeOf(std::uint64_t seed)
{
    return places[seed % std::size(places)];
}

/// The history as it reads back: without fractions of a second.
std::vector<Session> asStored(std::vector<Session> sessions)
{
    const auto cut = [](Date date) { return Date(std::chrono::floor<std::chrono::seconds>(date)); };
    for (Session& session : sessions) {
        session.startDate = cut(session.startDate);
        if (session.endDate)
            session.endDate = cut(*session.endDate);
        for (SPLReading& reading : session.readings)
            reading.timestamp = cut(reading.timestamp);
    }
    return sessions;
}

} // namespace

HubSimulation::HubSimulation(std::uint64_t seed)
    : m_random(seed)
    , m_host(placeOf(seed).start, placeOf(seed).zone)
    , m_lastCheck(m_host.loop.now())
{
    m_host.defaults.set("selectedDeviceUID", std::string("mic"));
    m_host.storage = SessionStorage::inFolder(m_folder.path());
    startHub();
    m_levelTimer = m_host.loop.every(1.0, [this] { setLevels(); });
}

HubSimulation::~HubSimulation()
{
    setDiskFull(false);
}

double HubSimulation::uniform(double from, double to)
{
    return std::uniform_real_distribution<double>(from, to)(m_random);
}

bool HubSimulation::chance(double probability)
{
    return uniform(0, 1) < probability;
}

void HubSimulation::startHub()
{
    m_hub = std::make_unique<AppState>(m_host.host());
    m_host.loop.runPosted();
    m_lastDose = m_hub->doseCalculator.accumulatedDose;
}

void HubSimulation::run(int days)
{
    const double seconds = days * 86400.0;
    double passed = 0;
    while (passed < seconds && !testing::Test::HasFailure()) {
        // Work comes in clusters; the rest of the day nothing happens.
        const bool isWorking = m_hub->sessionManager.currentSession.get().has_value();
        const bool isLong = chance(0.05);
        const double wait =
            isWorking ? (isLong ? uniform(600, 4 * 3600) : uniform(1, 300)) : uniform(1, 5 * 3600);
        pass(wait);
        passed += wait;
        happen();
        if (testing::Test::HasFailure())
            return;
    }
    setDiskFull(false);
    check();
}

/// Lets time pass, and looks every now and then at what changes with time. The history changes with
/// events.
void HubSimulation::pass(double seconds)
{
    while (seconds > 0 && !testing::Test::HasFailure()) {
        const double step = std::min(seconds, 300.0);
        m_host.loop.runFor(step);
        seconds -= step;
        checkServices();
    }
}

void HubSimulation::setLevels()
{
    if (!m_hub || !m_hub->audioService.isRunning)
        return;
    if (chance(1.0 / 120)) {
        constexpr double levels[] = {0, 35, 62, 72, 79, 82, 86, 91, 97, 104};
        m_level = levels[static_cast<std::size_t>(uniform(0, 9.999))];
    }
    const double dBA = std::max(0.0, m_level + uniform(-1.5, 1.5));
    const double peakDBC = chance(0.01) ? uniform(130, 145) : dBA + 15;
    const double peakDBA = chance(0.01) ? uniform(110, 120) : dBA + 10;
    test::setLevels(*m_hub, dBA, dBA + 3, peakDBC, peakDBA);
}

void HubSimulation::happen()
{
    const bool isRunning = m_hub->sessionManager.currentSession.get().has_value();
    const double lot = uniform(0, 100);
    if (!isRunning && lot < 45) {
        startSession(chance(0.5) ? "REAPER" : "Ardour", true);
    } else if (isRunning && lot < 25) {
        endSession(true);
    } else if (lot < 52) {
        startSession("Manual", false);
    } else if (lot < 58) {
        endSession(false);
    } else if (lot < 64) {
        note("pause");
        m_hub->pauseService.pause(chance(0.3) ? std::nullopt : std::optional(uniform(0, 1200)),
                                  m_host.loop.now());
        check();
    } else if (lot < 70) {
        note("resume");
        m_hub->pauseService.resume();
        check();
    } else if (lot < 76) {
        setClock();
    } else if (lot < 79) {
        loseMicrophone();
    } else if (lot < 83) {
        setDiskFull(!m_isDiskFull);
    } else if (lot < 88) {
        crash();
    } else if (lot < 93) {
        changeSettings();
    } else if (lot < 95) {
        deleteSomeSession();
    } else if (lot < 96) {
        note("dose reset");
        m_historyIsOnDisk = m_historyIsOnDisk && !m_isDiskFull;
        m_hub->resetDose();
        m_host.loop.runPosted();
        check(DoseMayFall::yes);
    } else {
        note("snooze");
        m_hub->notifications.snoozeNotifications(30);
        check();
    }
}

void HubSimulation::startSession(const std::string& name, bool byWorkstation)
{
    note("start");
    const bool isOther = !m_hub->sessionManager.currentSession.get();
    if (byWorkstation)
        m_hub->dawDetection.onDAWLaunched(name);
    else
        m_hub->startSession(name);
    if (!m_hub->sessionManager.currentSession.get())
        return;
    m_ticksAtBegin = m_hub->splTickCounter();
    m_isDisciplineSteady = m_hub->referenceTracker.settings.get().enabled;
    m_hadClockChange = m_hadClockChange && !isOther;
    m_alertsOfSession.clear();
    check();
}

void HubSimulation::endSession(bool byWorkstation)
{
    note("end");
    const auto running = m_hub->sessionManager.currentSession.get();
    const std::int64_t ticks = m_hub->splTickCounter() - m_ticksAtBegin;
    m_historyIsOnDisk = m_historyIsOnDisk && !m_isDiskFull;
    if (byWorkstation)
        m_hub->dawDetection.onAllDAWsQuit();
    else
        m_hub->endSession();
    m_host.loop.runPosted();
    if (running && !m_hub->sessionManager.currentSession.get()) {
        const Session& ended = m_hub->sessionManager.sessionHistory.get().front();
        EXPECT_EQ(ended.id, running->id);
        checkEndedSession(ended, ticks);
    } else if (!running && !m_isDiskFull) {
        m_historyIsOnDisk = m_historyIsOnDisk && !m_hub->sessionManager.hasUnsavedSessions();
    }
    check();
}

void HubSimulation::crash()
{
    note("crash");
    const auto running = m_hub->sessionManager.currentSession.get();
    const bool wasOnDisk = m_historyIsOnDisk && !m_isDiskFull;
    const auto history = m_hub->sessionManager.sessionHistory.get();
    const double dose = m_hub->doseCalculator.accumulatedDose;
    m_hub.reset();
    setDiskFull(false);
    startHub();
    m_historyIsOnDisk = true;
    m_alertsOfSession.clear();
    m_lastSeen.clear();
    EXPECT_GE(m_hub->doseCalculator.accumulatedDose, dose) << "a crash costs no dose";

    const auto& after = m_hub->sessionManager.sessionHistory.get();
    std::set<Uuid> ids;
    for (const Session& session : after)
        EXPECT_TRUE(ids.insert(session.id).second) << "a session is there twice";
    if (wasOnDisk) {
        for (const Session& session : history)
            EXPECT_TRUE(ids.contains(session.id)) << "a finished session is lost";
        if (running) {
            const auto recovered = std::ranges::find(after, running->id, &Session::id);
            ASSERT_NE(recovered, after.end()) << "the running session is lost";
            EXPECT_EQ(asStored({*recovered})[0].readings, asStored({*running})[0].readings);
            EXPECT_EQ(recovered->dawName, running->dawName);
        }
    }
    EXPECT_THAT(m_folder.names(), testing::Each(testing::Not(testing::EndsWith(".journal"))));
    check();
}

/// No file can grow while the disk is full.
void HubSimulation::setDiskFull(bool isFull)
{
    if (isFull != m_isDiskFull)
        note(isFull ? "disk full" : "disk free");
    m_isDiskFull = isFull;
    rlimit limit = {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = isFull ? 0 : limit.rlim_max;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    if (!isFull && m_hub && !m_historyIsOnDisk) {
        m_hub->sessionManager.saveHistory();
        EXPECT_FALSE(m_hub->sessionManager.hasUnsavedSessions());
        m_historyIsOnDisk = true;
    }
}

void HubSimulation::loseMicrophone()
{
    note("microphone lost");
    if (!m_hub->audioService.isRunning)
        return;
    const bool wasRunning = m_hub->sessionManager.currentSession.get().has_value();
    const auto inputs = m_host.audio.inputs;
    m_host.audio.unplug("mic");
    m_historyIsOnDisk = m_historyIsOnDisk && !m_isDiskFull;
    m_host.audio.engine().changeConfiguration();
    m_host.loop.runFor(1);
    EXPECT_FALSE(m_hub->sessionManager.currentSession.get());
    EXPECT_FALSE(m_hub->audioService.isRunning);
    EXPECT_TRUE(wasRunning);
    m_host.audio.inputs = inputs;
    m_hub->deviceManager.refreshDevices();
    check();
}

void HubSimulation::setClock()
{
    const double lot = uniform(0, 1);
    // Sleep, a clock that is put right, a clock that was far off.
    const double seconds = lot < 0.4   ? uniform(1800, 12 * 3600)
                           : lot < 0.8 ? uniform(-7200, 7200)
                                       : uniform(-3, 3);
    note(lot < 0.4 ? "sleep" : "clock set");
    const Date before = m_host.loop.now();
    const Date after = before + nanosecondsFrom(seconds);
    if (after < before && !m_host.calendar.isSameDay(before, after))
        m_latestBeforeSetBack = std::max(m_latestBeforeSetBack, before);
    ++m_clockChanges;
    m_hadClockChange = true;
    m_host.loop.setClock(after);
    m_host.loop.runFor(tick);
    // On a disk that is full the day's load finds what is there.
    check();
}

void HubSimulation::changeSettings()
{
    note("settings");
    if (chance(0.5)) {
        ReferenceLevelSettings settings = m_hub->referenceTracker.settings;
        settings.target = uniform(65, 90);
        settings.tolerance = uniform(1, 6);
        settings.enabled = chance(0.85);
        m_isDisciplineSteady = m_isDisciplineSteady && settings.enabled;
        m_hub->referenceTracker.settings = settings;
    } else {
        MonitoringAlertSettings settings = m_hub->alertDetector.settings;
        settings.offTargetWindowSec = uniform(10, 900);
        settings.driftAlertEnabled = chance(0.8);
        settings.offTargetAlertEnabled = chance(0.8);
        m_hub->alertDetector.settings = settings;
    }
    m_hub->settings.peakMonitoringEnabled = chance(0.8);
    m_hub->settings.autoStartSessions = chance(0.9);
    m_hub->settings.conservativeDoseMode = chance(0.3);
    check();
}

void HubSimulation::deleteSomeSession()
{
    const auto& history = m_hub->sessionManager.sessionHistory.get();
    if (history.empty())
        return;
    note("delete");
    m_historyIsOnDisk = m_historyIsOnDisk && !m_isDiskFull;
    m_hub->deleteSession(
        history[static_cast<std::size_t>(uniform(0, static_cast<double>(history.size()) - 0.001))]);
    m_host.loop.runPosted();
    check(DoseMayFall::yes);
}

void HubSimulation::check(DoseMayFall doseMayFall)
{
    checkServices(doseMayFall);
    checkHistory();
}

void HubSimulation::checkServices(DoseMayFall doseMayFall)
{
    checkDose(doseMayFall);
    checkNotifications();
    checkSession();
    m_lastCheck = m_host.loop.now();
}

double HubSimulation::todaysSessionDoses() const
{
    double sum = 0;
    for (const Session& session : m_hub->sessionManager.todaysSessions())
        sum += session.doseAccumulated;
    const auto& running = m_hub->sessionManager.currentSession.get();
    if (running && m_host.calendar.isSameDay(running->startDate, m_host.loop.now()))
        sum += m_hub->doseCalculator.sessionDose();
    return sum;
}

void HubSimulation::checkDose(DoseMayFall doseMayFall)
{
    const DoseCalculator& dose = m_hub->doseCalculator;
    const bool isNewDay = !m_host.calendar.isSameDay(m_lastCheck, m_host.loop.now());
    const bool mayFall = isNewDay || doseMayFall == DoseMayFall::yes;
    EXPECT_TRUE(mayFall || dose.accumulatedDose >= m_lastDose)
        << "the dose fell from " << m_lastDose << " to " << dose.accumulatedDose;
    m_lastDose = dose.accumulatedDose;
    EXPECT_NEAR(dose.dosePercentage, dose.accumulatedDose * 100, 1e-9);
    EXPECT_GE(dose.peakCount135.get(), dose.peakCount137.get());
    EXPECT_GE(dose.peakCount137.get(), dose.peakCount140.get());
    // After a step back over midnight it is yesterday again, whose dose is gone, and the day that had
    // begun will begin once more.
    const Date now = m_host.loop.now();
    const bool isRepeated =
        now < m_latestBeforeSetBack || m_host.calendar.isSameDay(now, m_latestBeforeSetBack);
    if (!isRepeated) {
        EXPECT_LE(todaysSessionDoses(), dose.accumulatedDose * 100 + 1e-6) << "the sessions exceed the day";
    }
}

void HubSimulation::checkHistory()
{
    const auto file = m_folder / "sessions.json";
    if (!std::filesystem::exists(file))
        return;
    std::vector<Session> onDisk;
    ASSERT_NO_THROW(onDisk = decodedHistory(contentOf(file)));
    if (m_historyIsOnDisk && !m_hub->sessionManager.hasUnsavedSessions()) {
        EXPECT_EQ(onDisk, asStored(m_hub->sessionManager.sessionHistory.get()));
    }
    const auto names = m_folder.names();
    const auto journals =
        std::ranges::count_if(names, [](const std::string& name) { return name.ends_with(".journal"); });
    if (m_historyIsOnDisk && !m_isDiskFull) {
        EXPECT_LE(journals, m_hub->sessionManager.currentSession.get() ? 1 : 0);
    }
}

void HubSimulation::checkNotifications()
{
    for (const NotificationRequest& request : m_host.notifications.requests) {
        const auto hasPrefix = [&](const char* prefix) { return request.identifier.starts_with(prefix); };
        const auto isLimited = [&](const char* prefix, double seconds) {
            if (!hasPrefix(prefix))
                return;
            // The stamp is the moment itself; others are seen at the end of a step of five minutes.
            const std::string stamp = request.identifier.substr(std::string(prefix).size());
            const Date moment =
                stamp.empty() ? m_host.loop.now() : Date() + nanosecondsFrom(std::stod(stamp));
            const auto last = m_lastSeen.find(prefix);
            if (last != m_lastSeen.end() && last->second.clockChanges == m_clockChanges) {
                const double slack = stamp.empty() ? 300.0 : 1e-3;
                EXPECT_GE(secondsBetween(last->second.moment, moment), seconds - slack) << prefix;
            }
            m_lastSeen[prefix] = {moment, m_clockChanges};
        };
        isLimited("peak-alert-", 30);
        isLimited("instantaneous-peak-", 60);
        isLimited("sustained-spl", 600);
        for (const char* prefix : {"monitoring-drift-", "monitoring-offtarget-"}) {
            if (hasPrefix(prefix)) {
                EXPECT_EQ(++m_alertsOfSession[prefix], 1) << prefix;
            }
        }
        EXPECT_FALSE(request.title.empty());
        EXPECT_FALSE(request.body.empty());
    }
    m_host.notifications.requests.clear();
}

void HubSimulation::checkSession()
{
    const auto& running = m_hub->sessionManager.currentSession.get();
    EXPECT_EQ(m_hub->audioService.isRunning.get(), running.has_value());
    const auto& leq = m_hub->leqStatistics;
    if (leq.l10.get()) {
        EXPECT_LE(leq.l90.get(), leq.l50.get());
        EXPECT_LE(leq.l50.get(), leq.l10.get());
    }
    if (!running)
        return;
    EXPECT_GE(running->peakCount135, running->peakCount140);
    EXPECT_FALSE(running->endDate);
    EXPECT_LE(running->averageSPL, running->peakSPL + 1e-9);
    const auto& tracker = m_hub->referenceTracker;
    const auto ticks = static_cast<double>(m_hub->splTickCounter() - m_ticksAtBegin);
    if (m_isDisciplineSteady) {
        EXPECT_NEAR(tracker.activeMonitoringTime() + tracker.secondsSilent, ticks * tick, 1e-3);
    }
}

void HubSimulation::checkEndedSession(const Session& session, std::int64_t ticks)
{
    EXPECT_TRUE(session.endDate);
    EXPECT_GE(session.peakCount135, session.peakCount140);
    EXPECT_GE(session.doseAccumulated, -1e-9);
    if (m_isDisciplineSteady && ticks > 0) {
        EXPECT_NEAR(session.activeMonitoringTimeSec() + session.timeSilentSec,
                    static_cast<double>(ticks) * tick, 1e-3);
    }
    if (m_hadClockChange)
        return;
    // A reading every ten seconds, counted anew from a rename.
    EXPECT_LE(static_cast<double>(session.readings.size()) * 10, session.duration(m_host.loop.now()) + 1e-3);
    Date last = session.startDate;
    for (const SPLReading& reading : session.readings) {
        EXPECT_GE(reading.timestamp, last);
        last = reading.timestamp;
    }
    EXPECT_GE(*session.endDate, last);
}

} // namespace velmor::test
