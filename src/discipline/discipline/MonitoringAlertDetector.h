// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Date.h>
#include <base/Observable.h>
#include <discipline/MonitoringAlertSettings.h>
#include <discipline/Zone.h>
#include <platform/DefaultsStore.h>

#include <deque>
#include <functional>
#include <optional>

namespace velmor {

/// The 30-minute level has crept up.
struct DriftAlertContext
{
    double baselineDBA = 0;
    double currentRollingDBA = 0;

    double driftDB() const { return currentRollingDBA - baselineDBA; }
};

/// Nearly all monitoring was on one side of the band.
struct OffTargetAlertContext
{
    enum class Direction { under, over };

    Direction direction = Direction::under;
    double targetDBA = 0;
    double averageDBA = 0; ///< The edge of the alert band on that side, not a measured mean.
    double windowSec = 0;
};

/// Watches a running session for two slow patterns that the zones alone don't show: a creeping rise of
/// the 30-minute level over a baseline taken early in the session, and a stretch in which nearly all
/// time that isn't silent lies on one side of a band that is wider than the reference band. Each alert
/// comes at most once a session. Main thread; the callbacks run inside evaluate().
class MonitoringAlertDetector final : public ObservableObject
{
public:
    /// \param initialSettings the stored ones where absent.
    explicit MonitoringAlertDetector(DefaultsStore& defaults,
                                     std::optional<MonitoringAlertSettings> initialSettings = {});

    Published<MonitoringAlertSettings> settings; ///< Each new value is saved at once.

    std::function<void(const DriftAlertContext&)> onDriftAlert;
    std::function<void(const OffTargetAlertContext&)> onOffTargetAlert;

    /// Takes up the stored settings.
    void reloadSettings() { settings = m_store.load(); }

    /// Arms both alerts. A snooze that reaches into the session stays.
    void beginSession(Date at);

    /// From here on evaluate() does nothing.
    void endSession();

    /// To be called once a second while a session runs and is not paused.
    /// \param target centre of the reference band, dBA, whether or not discipline is tracked.
    /// \param rolling30minLeq dBA; absent for as long as half an hour hasn't passed.
    void evaluate(Date now, double currentDBA, double target, std::optional<double> rolling30minLeq);

    /// No drift alert for 30 minutes.
    void snoozeDrift(Date at);

    /// No off-target alert for 30 minutes.
    void snoozeOffTarget(Date at);

private:
    struct Observation
    {
        Date moment;
        Zone zone;
    };

    void evaluateDrift(Date now, std::optional<double> rolling30);
    void ingestForOffTarget(Date now, double dBA, double target);
    void evaluateOffTarget(Date now, double target);

    std::optional<Date> m_sessionStart;

    std::optional<double> m_driftBaselineDBA;
    std::optional<Date> m_driftElevatedSince;
    bool m_driftFiredThisSession = false;
    std::optional<Date> m_driftSnoozedUntil;

    std::deque<Observation> m_offTargetBuffer; ///< One for each evaluation, oldest first.
    bool m_offTargetFiredThisSession = false;
    std::optional<Date> m_offTargetSnoozedUntil;

    MonitoringAlertSettingsStore m_store;
    Subscription m_saving;
};

} // namespace velmor
