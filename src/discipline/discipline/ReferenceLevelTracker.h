// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Observable.h>
#include <discipline/ReferenceLevelSettings.h>
#include <discipline/Zone.h>
#include <platform/DefaultsStore.h>

#include <optional>
#include <set>

namespace velmor {

/// Least time of active monitoring that an on-target share is given for, in seconds.
inline constexpr double leastActiveSeconds = 30.0;

/// Share of the active time that was spent on target, 0 to 100; absent below 30 seconds.
std::optional<double> onTargetShare(double secondsOnTarget, double activeSeconds);

/// Classifies each tick of a running session against the reference band and adds up the seconds spent
/// in each zone. Main thread.
class ReferenceLevelTracker final : public ObservableObject
{
public:
    /// What a session keeps of it.
    struct SessionSummary
    {
        double target = 0;    ///< dBA
        double tolerance = 0; ///< dB
        double secondsSilent = 0;
        double secondsUnder = 0;
        double secondsOnTarget = 0;
        double secondsOver = 0;

        bool operator==(const SessionSummary&) const = default;
    };

    /// A day's sums.
    struct DailySummary
    {
        double secondsSilent = 0;
        double secondsUnder = 0;
        double secondsOnTarget = 0;
        double secondsOver = 0;

        /// The reference levels that contributed, dBA. With more than one the share is a mixture.
        std::set<double> distinctTargets;

        double activeSec() const { return secondsUnder + secondsOnTarget + secondsOver; }
        std::optional<double> onTargetPercentage() const
        {
            return onTargetShare(secondsOnTarget, activeSec());
        }
        bool hasSingleTarget() const { return distinctTargets.size() == 1; }
    };

    /// \param tickInterval seconds that one tick counts for.
    /// \param initialSettings the stored ones where absent.
    ReferenceLevelTracker(DefaultsStore& defaults, double tickInterval,
                          std::optional<ReferenceLevelSettings> initialSettings = {});

    Published<ReferenceLevelSettings> settings; ///< Each new value is saved at once.
    Published<Zone> currentZone{*this, Zone::silent};

    /// The latest level minus the target, dB; absent while silent or not enabled.
    Published<std::optional<double>> currentDeviation{*this, {}};

    // Since beginSession(); nothing resets them at a session's end.
    Published<double> secondsSilent{*this, 0};
    Published<double> secondsUnder{*this, 0};
    Published<double> secondsOnTarget{*this, 0};
    Published<double> secondsOver{*this, 0};

    /// Takes up the stored settings.
    void reloadSettings() { settings = m_store.load(); }

    double activeMonitoringTime() const { return secondsUnder + secondsOnTarget + secondsOver; }
    std::optional<double> onTargetPercentage() const
    {
        return onTargetShare(secondsOnTarget, activeMonitoringTime());
    }

    /// Takes in the A-weighted level of a tick.
    void tick(double dBA);

    Zone classify(double dBA) const;

    /// Starts counting from 0.
    void beginSession();

    /// The counts so far under the present band; absent when nothing was counted, and when discipline
    /// is not enabled at this moment.
    std::optional<SessionSummary> snapshotSummary() const;

private:
    double m_tickInterval;
    ReferenceLevelSettingsStore m_store;
    Subscription m_saving;
};

} // namespace velmor
