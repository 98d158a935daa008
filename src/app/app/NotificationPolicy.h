// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppSettings.h>
#include <base/Date.h>
#include <base/MainLoop.h>
#include <base/Uuid.h>
#include <discipline/MonitoringAlertDetector.h>
#include <exposure/DoseCalculator.h>
#include <platform/NotificationCenter.h>

#include <functional>
#include <optional>

namespace velmor {

/// Decides when the program speaks to the user, and takes the answers. The rate limits count from the
/// moment a notification is due, whether or not the desktop shows it. Main thread.
class NotificationPolicy final : private NotificationDelegate
{
public:
    NotificationPolicy(MainLoop& loop, NotificationCenter& center, const AppSettings& settings,
                       const DoseCalculator& doseCalculator, MonitoringAlertDetector& alertDetector);
    ~NotificationPolicy();
    NotificationPolicy(const NotificationPolicy&) = delete;
    NotificationPolicy& operator=(const NotificationPolicy&) = delete;

    /// The user wants the report of a session.
    std::function<void(const Uuid& sessionID)> onShareReport;

    /// Becomes the centre's delegate, asks for authorisation and registers the categories. Only for the
    /// installed application.
    void setupNotifications();

    /// The day's dose has entered a band.
    void sendThresholdNotification(DoseLevel level);

    /// At most every 30 seconds. \param peakDB dBC
    void sendPeakNotification(double peakDB);

    /// At most every 60 seconds. \param peakDB dBA
    void sendInstantaneousPeakNotification(double peakDB);

    /// To be called with each tick's level, dBA: 90 dBA and more for 10 minutes on end are worth a
    /// notification.
    void checkSustainedExposure(double spl);

    /// The present stretch at or above 90 dBA is over.
    void clearSustainedExposure() { m_sustainedHighSPLStart.reset(); }

    void sendDriftNotification(const DriftAlertContext& context);
    void sendOffTargetNotification(const OffTargetAlertContext& context);

    /// Says nothing of a session below 0.1 %. Doses in percent.
    void sendSessionRecapNotification(double sessionDose, double totalDose,
                                      const std::optional<Uuid>& sessionID);

    void sendDeviceDisconnectedNotification();

    /// No dose, peak or exposure notifications for so long. Drift and off-target alerts have a snooze
    /// of their own; recap and disconnection have none.
    void snoozeNotifications(double minutes);

private:
    NotificationPresentation presentationInFront() const override;
    void respond(const NotificationResponse& response, const std::function<void()>& completion) override;

    void sendSustainedExposureNotification(double spl);
    void snoozeCategory(const std::string& category);
    void handleShareReportAction(const NotificationResponse& response);
    bool isSnoozed() const;

    MainLoop& m_loop;
    NotificationCenter& m_center;
    const AppSettings& m_settings;
    const DoseCalculator& m_doseCalculator;
    MonitoringAlertDetector& m_alertDetector;
    bool m_isDelegate = false;

    std::optional<Date> m_snoozedUntil;
    std::optional<Date> m_sustainedHighSPLStart;
    std::optional<Date> m_lastPeakNotificationTime;
    std::optional<Date> m_lastInstantaneousPeakNotificationTime;
};

} // namespace velmor
