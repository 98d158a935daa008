// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/SessionManager.h>

#include <base/AtomicFile.h>
#include <base/FileText.h>
#include <base/JsonStream.h>
#include <base/Levels.h>
#include <base/Print.h>
#include <exposure/PeakLimits.h>
#include <sessions/DamagedHistory.h>
#include <sessions/SessionFormat.h>
#include <sessions/SessionRetention.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace velmor {

namespace {

constexpr auto historyFileName = "sessions.json";

constexpr double readingSampleInterval = 60.0;
constexpr std::int64_t downsampleStride = 10;

std::size_t readingCount(const std::vector<Session>& sessions)
{
    std::size_t count = 0;
    for (const Session& session : sessions)
        count += session.readings.size();
    return count;
}

/// The session as it is when it ends at a moment.
void finish(Session& session, Date end, const DoseCalculator& doseCalculator,
            const SessionManager::DisciplineSummary& disciplineSummary)
{
    session.endDate = end;
    session.doseAccumulated = doseCalculator.sessionDose();
    if (disciplineSummary) {
        session.monitoringTarget = disciplineSummary->target;
        session.monitoringTolerance = disciplineSummary->tolerance;
        session.timeSilentSec = disciplineSummary->secondsSilent;
        session.timeUnderSec = disciplineSummary->secondsUnder;
        session.timeOnTargetSec = disciplineSummary->secondsOnTarget;
        session.timeOverSec = disciplineSummary->secondsOver;
    }
}

} // namespace

SessionManager::SessionManager(MainLoop& loop, DefaultsStore& defaults, const Calendar& calendar,
                               NotificationCenter& notificationCenter, SessionStorage storage, Bundle bundle)
    : m_loop(loop)
    , m_defaults(defaults)
    , m_calendar(calendar)
    , m_notificationCenter(notificationCenter)
    , m_storage(std::move(storage))
    , m_bundle(bundle)
{
    if (const auto folder = m_storage.folder())
        AtomicFile::removeLeftovers(*folder);
    loadHistory();
    recoverSessions();
}

void SessionManager::startSession(const std::string& dawName)
{
    if (currentSession.get()) {
        if (currentSession.get()->dawName != dawName)
            currentSession.update([&](auto& session) { session->dawName = dawName; });
        return;
    }
    currentSession = newSession(dawName, m_loop.now());
    m_splSampleCount = 0;
    m_energySum = 0;
    // Nobody waits for this timer: the samples are pushed by the hub.
    m_readingSampleTimer = m_loop.every(readingSampleInterval, [] {});

    if (const auto folder = m_storage.folder())
        m_journal = std::make_unique<SessionJournal>(*folder, currentSession.get()->id);
}

void SessionManager::endSession(const DoseCalculator& doseCalculator,
                                const DisciplineSummary& disciplineSummary)
{
    if (!currentSession.get())
        return;
    recordProgress(doseCalculator, disciplineSummary);
    const auto journal = m_journal ? m_journal->file() : std::filesystem::path();
    m_journal.reset();

    Session session = *currentSession.get();
    finish(session, m_loop.now(), doseCalculator, disciplineSummary);
    if (!m_storage.isMemory())
        m_unsavedSessions.insert_or_assign(session.id, journal);
    sessionHistory.update([&](auto& history) { history.insert(history.begin(), std::move(session)); });
    saveHistory();
    currentSession = std::nullopt;
    m_readingSampleTimer.reset();
}

void SessionManager::discardSession()
{
    if (!currentSession.get())
        return;
    if (m_journal) {
        std::error_code ignored;
        std::filesystem::remove(m_journal->file(), ignored);
        m_journal.reset();
    }
    currentSession = std::nullopt;
    m_readingSampleTimer.reset();
}

void SessionManager::updateCurrentSession(double spl, double, double peakDBC, double peakDBA, double)
{
    if (!currentSession.get())
        return;
    currentSession.update([&](auto& session) {
        if (session->peakSPL < spl)
            session->peakSPL = spl;
        if (session->peakDBC < peakDBC)
            session->peakDBC = peakDBC;
        if (peakDBC >= limitPeakDBC) {
            ++session->peakCount140;
            ++session->peakCount135;
        } else if (peakDBC >= lowerActionPeakDBC) {
            ++session->peakCount135;
        }
        if (peakDBA >= ceilingPeakDBA)
            ++session->peakDBACount115;
        ++m_splSampleCount;
        m_energySum += energyOfLevel(spl);
        session->averageSPL = energyMean(m_energySum, m_splSampleCount);
    });
}

void SessionManager::addReading(double spl, double dBC, double dosePercentage, std::optional<Zone> zone)
{
    if (!currentSession.get())
        return;
    currentSession.update([&](auto& session) {
        session->readings.push_back({m_loop.now(), spl, dosePercentage, dBC, zone});
    });
}

void SessionManager::recordProgress(const DoseCalculator& doseCalculator,
                                    const DisciplineSummary& disciplineSummary)
{
    if (!currentSession.get() || !m_journal)
        return;
    Session state = *currentSession.get();
    finish(state, m_loop.now(), doseCalculator, disciplineSummary);
    const auto error = m_journal->append(state);
    if (error && !std::exchange(m_didPrintJournalFailure, true))
        printLine("The running session's journal can't be written: {}", error.message());
}

void SessionManager::deleteSession(Uuid id)
{
    sessionHistory.update([&](auto& history) {
        std::erase_if(history, [&](const Session& session) { return session.id == id; });
    });
    saveHistory();
}

void SessionManager::mergeSessions(const std::vector<Session>& sessions)
{
    std::map<Uuid, Session> merged;
    for (const Session& session : sessionHistory.get())
        merged.insert_or_assign(session.id, session);
    for (const Session& session : sessions) {
        merged.insert_or_assign(session.id, session);
        if (!m_storage.isMemory())
            m_unsavedSessions.try_emplace(session.id);
    }
    std::vector<Session> history;
    history.reserve(merged.size());
    for (auto& [id, session] : merged)
        history.push_back(std::move(session));
    std::ranges::stable_sort(history, {}, &Session::startDate);
    sessionHistory = std::move(history);
    saveHistory();
}

void SessionManager::saveHistory()
{
    const auto folder = m_storage.folder();
    if (!folder)
        return;
    const std::string error = writeHistory(*folder);
    if (!error.empty()) {
        printUnmarkedLine(fmt::format("Failed to save session history: {}", error));
        notifyOfSaveFailureOnce(error);
        return;
    }
    for (const auto& [id, journal] : std::exchange(m_unsavedSessions, {})) {
        std::error_code ignored;
        std::filesystem::remove(journal, ignored);
    }
}

/// \return why it could not be written; empty where it could.
std::string SessionManager::writeHistory(const std::filesystem::path& folder)
{
    const auto text = encodedHistory(sessionHistory.get());
    if (!text)
        return "a level is not a finite number";
    const auto file = folder / historyFileName;
    if (m_mustSetAside) {
        if (const auto error = setDamagedHistoryAside(file, m_loop.now()))
            return fmt::format("the damaged history could not be copied aside ({})", error.message());
        m_mustSetAside = false;
    }
    AtomicFile atomicFile(file);
    atomicFile.write(*text);
    return atomicFile.commit() ? "" : atomicFile.error().message();
}

void SessionManager::notifyOfSaveFailureOnce(const std::string& error)
{
    if (m_didNotifySaveFailure || m_bundle == Bundle::none)
        return;
    m_didNotifySaveFailure = true;
    NotificationRequest request;
    request.identifier = "velmor.session.savefail";
    request.title = "Velmor couldn't save session history";
    request.body = fmt::format("Check disk space and Velmor's container permissions. {}", error);
    m_notificationCenter.add(request);
}

void SessionManager::loadHistory()
{
    if (m_storage.isMemory())
        return;
    const auto file = *m_storage.folder() / historyFileName;
    std::error_code unknown;
    if (!std::filesystem::exists(file, unknown) && !unknown)
        return;

    std::vector<Session> loaded;
    std::error_code error;
    std::string text = fileText(file, error, jsonSpareCapacity);
    try {
        if (error)
            throw JsonError(error.message());
        loaded = decodedHistory(std::move(text));
        m_mustSetAside = false;
    } catch (const JsonError& failure) {
        printUnmarkedLine(fmt::format("Failed to load session history: {}", failure.what()));
        m_mustSetAside = bool(setDamagedHistoryAside(file, m_loop.now()));
        keepUnsavedSessions(loaded);
        sessionHistory = std::move(loaded);
        return;
    }

    const std::size_t sessionCount = loaded.size();
    const std::size_t readings = readingCount(loaded);
    if (m_storage.retention() == SessionStorage::Retention::bySettings) {
        loaded = SessionRetention::process(std::move(loaded), detailedRetention.read(m_defaults),
                                           totalRetention.read(m_defaults), downsampleStride, m_loop.now(),
                                           m_calendar);
    }
    const bool hasChanged = loaded.size() != sessionCount || readingCount(loaded) != readings;
    keepUnsavedSessions(loaded);
    sessionHistory = std::move(loaded);
    if (hasChanged || hasUnsavedSessions())
        saveHistory();
}

// Before what the file has, and in place of it: what is in memory is newer.
void SessionManager::keepUnsavedSessions(std::vector<Session>& loaded) const
{
    std::vector<Session> kept;
    for (const Session& session : sessionHistory.get()) {
        if (m_unsavedSessions.contains(session.id))
            kept.push_back(session);
    }
    std::erase_if(loaded, [&](const Session& session) { return m_unsavedSessions.contains(session.id); });
    loaded.insert(loaded.begin(), kept.begin(), kept.end());
}

bool SessionManager::isInHistory(const Uuid& id) const
{
    return std::ranges::find(sessionHistory.get(), id, &Session::id) != sessionHistory.get().end();
}

// A crash between saving a session and removing its journal leaves both: such a journal goes with the
// save, which comes only after.
void SessionManager::recoverSessions()
{
    const auto folder = m_storage.folder();
    if (!folder)
        return;
    std::vector<std::filesystem::path> copies;
    for (SessionJournals::Left& journal : SessionJournals::leftIn(*folder)) {
        if (!journal.session) {
            SessionJournals::setAside(journal.file);
            continue;
        }
        if (!m_unsavedSessions.try_emplace(journal.session->id, journal.file).second)
            copies.push_back(journal.file);
        if (isInHistory(journal.session->id))
            continue;
        printLine("Recovered the session {:?} of {} from its journal", journal.session->dawName,
                  isoText(journal.session->startDate));
        sessionHistory.update(
            [&](auto& history) { history.insert(history.begin(), std::move(*journal.session)); });
    }
    if (hasUnsavedSessions())
        saveHistory();
    for (const auto& copy : copies) {
        std::error_code ignored;
        if (!hasUnsavedSessions())
            std::filesystem::remove(copy, ignored);
    }
}

std::optional<Session> SessionManager::newestSession() const
{
    const auto newest = std::ranges::max_element(sessionHistory.get(), {}, &Session::startDate);
    return newest != sessionHistory.get().end() ? std::optional(*newest) : std::nullopt;
}

std::vector<Session> SessionManager::todaysSessions() const
{
    // No local day is longer, and a calendar's answer takes a thousand times as long as a difference.
    constexpr double longestDaySeconds = 26.0 * 3600;
    const Date now = m_loop.now();
    std::vector<Session> sessions;
    for (const Session& session : sessionHistory.get()) {
        if (std::abs(secondsBetween(session.startDate, now)) <= longestDaySeconds &&
            m_calendar.isSameDay(session.startDate, now))
            sessions.push_back(session);
    }
    return sessions;
}

double SessionManager::todaysTotalDuration() const
{
    double duration = 0;
    for (const Session& session : todaysSessions())
        duration += session.duration(m_loop.now());
    return duration;
}

std::string SessionManager::todaysTotalDurationFormatted() const
{
    const auto total = static_cast<std::int64_t>(todaysTotalDuration());
    return fmt::format("{}h {}m", total / 3600, total % 3600 / 60);
}

} // namespace velmor
