// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Calendar.h>
#include <base/MainLoop.h>
#include <base/Observable.h>
#include <base/Uuid.h>
#include <discipline/ReferenceLevelTracker.h>
#include <exposure/DoseCalculator.h>
#include <platform/DefaultsStore.h>
#include <platform/NotificationCenter.h>
#include <platform/SavePanel.h>
#include <sessions/Session.h>
#include <sessions/SessionJournal.h>
#include <sessions/SessionStorage.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmor {

/// Owns the running session, the finished ones and the history file. The history is read at
/// construction, together with what journals are left of a session that never ended, and written whole
/// with each change. Main thread; reads and writes files there.
class SessionManager final : public ObservableObject
{
public:
    using DisciplineSummary = std::optional<ReferenceLevelTracker::SessionSummary>;

    /// Whether the program runs as the installed application. Only then does a failed save raise a
    /// notification.
    enum class Bundle { none, installed };

    SessionManager(MainLoop& loop, DefaultsStore& defaults, const Calendar& calendar,
                   NotificationCenter& notificationCenter, SessionStorage storage, Bundle bundle);

    Published<std::optional<Session>> currentSession{*this, {}};
    Published<std::vector<Session>> sessionHistory{
        *this, {}}; ///< Finished sessions: in the file's order, what has ended since before them.

    /// Begins a session. One that is running gets the name instead and goes on.
    void startSession(const std::string& dawName);

    /// Finishes the running session, puts it at the front of the history and saves. Does nothing
    /// without one.
    void endSession(const DoseCalculator& doseCalculator, const DisciplineSummary& disciplineSummary);

    /// Gives the running session up, with its journal. Does nothing without one.
    void discardSession();

    /// Takes in a tick's levels, in dB. Does nothing without a running session.
    /// \param dBC, dosePercentage are not used.
    void updateCurrentSession(double spl, double dBC, double peakDBC, double peakDBA, double dosePercentage);

    /// Adds a sample to the running session's series. Does nothing without one.
    void addReading(double spl, double dBC, double dosePercentage, std::optional<Zone> zone);

    /// Notes in the journal what the running session would be if it ended now, with its newest reading
    /// if that is not there yet. Does nothing without one.
    void recordProgress(const DoseCalculator& doseCalculator, const DisciplineSummary& disciplineSummary);

    /// Removes every session of that identity from the history, and saves.
    /// \param id by value: it may be that of an element which is about to go.
    void deleteSession(Uuid id);

    /// Takes in sessions from elsewhere, each in place of one of the same identity, and saves. The history is
    /// ordered by start then, oldest first; what ends later comes before it all the same.
    void mergeSessions(const std::vector<Session>& sessions);

    /// Writes the finished sessions. A failure is printed, and raises a notification the first time;
    /// the history stays in memory.
    void saveHistory();

    /// Reads the history file, if there is one, and applies the retention rules to it. What can't be
    /// read leaves an empty history; the file is kept, and copied aside before anything overwrites it.
    /// A finished session that no save has brought to the disk yet stays.
    void loadHistory();

    /// The session that began last; absent where there is none.
    std::optional<Session> newestSession() const;

    /// Whether there are finished sessions that no save has brought to the disk yet.
    bool hasUnsavedSessions() const { return !m_unsavedSessions.empty(); }

    /// Text in the form of a field of comma-separated values: quoted where it has to be.
    static std::string csvEscape(std::string_view text);

    /// The finished ones of these sessions, oldest first, as comma-separated values: a row for each, then
    /// one for each local day. Days and times are those of the manager's calendar. No line break at the end.
    std::string csvString(std::span<const Session> sessions) const;

    /// The readings of the finished ones of these sessions as comma-separated values, oldest session first:
    /// time in UTC, levels in dB, the day's dose in percent, the zone. What was not recorded is empty.
    static std::string timeSeriesString(std::span<const Session> sessions);

    /// The finished ones of these sessions in the form of the history file, in their order. Absent when a
    /// number is not finite.
    static std::optional<std::string> jsonString(std::span<const Session> sessions);

    /// Lets the user save csvString(), which is made first. Without sessions nobody is asked. A failure to
    /// write is printed, and nothing else.
    void exportCSV(std::span<const Session> sessions, const std::string& suggestedName,
                   SavePanel& panel) const;
    /// The same for timeSeriesString().
    static void exportTimeSeries(std::span<const Session> sessions, const std::string& suggestedName,
                                 SavePanel& panel);
    /// The same for jsonString().
    static void exportJSON(std::span<const Session> sessions, const std::string& suggestedName,
                           SavePanel& panel);

    /// The finished sessions that started today, in the history's order.
    std::vector<Session> todaysSessions() const;

    /// Seconds.
    double todaysTotalDuration() const;

    /// As in 0h 12m.
    std::string todaysTotalDurationFormatted() const;

private:
    std::string writeHistory(const std::filesystem::path& folder);
    void recoverSessions();
    void keepUnsavedSessions(std::vector<Session>& loaded) const;
    bool isInHistory(const Uuid& id) const;
    void notifyOfSaveFailureOnce(const std::string& error);

    MainLoop& m_loop;
    DefaultsStore& m_defaults;
    const Calendar& m_calendar;
    NotificationCenter& m_notificationCenter;
    SessionStorage m_storage;
    Bundle m_bundle;

    Timer m_readingSampleTimer;
    std::int64_t m_splSampleCount = 0;
    double m_energySum = 0;
    bool m_didNotifySaveFailure = false;

    std::unique_ptr<SessionJournal> m_journal;
    bool m_didPrintJournalFailure = false;
    /// Finished sessions that are not in the file yet, with their journals, which stay until they are.
    std::map<Uuid, std::filesystem::path> m_unsavedSessions;
    bool m_mustSetAside = false; ///< The file is damaged and has no copy yet.
};

} // namespace velmor
