// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/NotificationPolicy.h>

#include <app/NotificationContent.h>

namespace velmor {

namespace {

constexpr double snoozeMinutes = 30;
constexpr double peakIntervalSeconds = 30.0;
constexpr double instantaneousPeakIntervalSeconds = 60.0;
constexpr double sustainedLevelDBA = 90.0;
constexpr double sustainedSeconds = 600.0;
constexpr double leastRecapDose = 0.1; ///< Percent.

/// Whether the last time was less than so many seconds ago. One that lies ahead is none: the clock was
/// set back since.
bool isWithin(double seconds, const std::optional<Date>& last, Date now)
{
    return last && *last <= now && secondsBetween(*last, now) < seconds;
}

} // namespace

NotificationPolicy::NotificationPolicy(MainLoop& loop, NotificationCenter& center,
                                       const AppSettings& settings, const DoseCalculator& doseCalculator,
                                       MonitoringAlertDetector& alertDetector)
    : m_loop(loop)
    , m_center(center)
    , m_settings(settings)
    , m_doseCalculator(doseCalculator)
    , m_alertDetector(alertDetector)
{}

NotificationPolicy::~NotificationPolicy()
{
    if (m_isDelegate)
        m_center.setDelegate(nullptr);
}

void NotificationPolicy::setupNotifications()
{
    m_isDelegate = true;
    m_center.setDelegate(this);
    m_center.requestAuthorization();
    m_center.setCategories(NotificationContent::categories());
}

// A crossing that falls into a snooze is lost for good: the calculator won't announce it again.
void NotificationPolicy::sendThresholdNotification(DoseLevel level)
{
    if (isSnoozed())
        return;
    m_center.add(NotificationContent::doseThreshold(level, m_settings.timeSensitiveNotifications));
}

void NotificationPolicy::sendPeakNotification(double peakDB)
{
    if (!m_settings.peakMonitoringEnabled || isSnoozed())
        return;
    const Date now = m_loop.now();
    if (isWithin(peakIntervalSeconds, m_lastPeakNotificationTime, now))
        return;
    m_lastPeakNotificationTime = now;
    m_center.add(NotificationContent::impulsePeak(peakDB, m_settings.timeSensitiveNotifications, now));
}

void NotificationPolicy::sendInstantaneousPeakNotification(double peakDB)
{
    if (!m_settings.peakMonitoringEnabled || isSnoozed())
        return;
    const Date now = m_loop.now();
    if (isWithin(instantaneousPeakIntervalSeconds, m_lastInstantaneousPeakNotificationTime, now))
        return;
    m_lastInstantaneousPeakNotificationTime = now;
    m_center.add(NotificationContent::instantaneousPeak(peakDB, m_settings.timeSensitiveNotifications, now));
}

void NotificationPolicy::checkSustainedExposure(double spl)
{
    if (!(spl >= sustainedLevelDBA)) {
        m_sustainedHighSPLStart.reset();
        return;
    }
    const Date now = m_loop.now();
    const bool isAhead = m_sustainedHighSPLStart > now; // The clock was set back.
    if (!m_sustainedHighSPLStart || isAhead) {
        m_sustainedHighSPLStart = now;
        return;
    }
    if (isWithin(sustainedSeconds, m_sustainedHighSPLStart, now))
        return;
    sendSustainedExposureNotification(spl);
    m_sustainedHighSPLStart = now;
}

void NotificationPolicy::sendSustainedExposureNotification(double spl)
{
    if (isSnoozed())
        return;
    m_center.add(NotificationContent::sustainedExposure(spl, allowedExposureTime(spl),
                                                        m_doseCalculator.accumulatedDose,
                                                        m_settings.timeSensitiveNotifications));
}

void NotificationPolicy::sendDriftNotification(const DriftAlertContext& context)
{
    m_center.add(NotificationContent::drift(context, m_loop.now()));
}

void NotificationPolicy::sendOffTargetNotification(const OffTargetAlertContext& context)
{
    m_center.add(NotificationContent::offTarget(context, m_loop.now()));
}

void NotificationPolicy::sendSessionRecapNotification(double sessionDose, double totalDose,
                                                      const std::optional<Uuid>& sessionID)
{
    if (sessionDose < leastRecapDose)
        return;
    m_center.add(NotificationContent::sessionRecap(sessionDose, totalDose, sessionID, m_loop.now()));
}

void NotificationPolicy::sendDeviceDisconnectedNotification()
{
    m_center.add(NotificationContent::deviceDisconnected());
}

void NotificationPolicy::snoozeNotifications(double minutes)
{
    m_snoozedUntil = m_loop.now() + nanosecondsFrom(minutes * 60);
}

NotificationPresentation NotificationPolicy::presentationInFront() const
{
    return {.banner = true, .sound = true};
}

void NotificationPolicy::respond(const NotificationResponse& response,
                                 const std::function<void()>& completion)
{
    if (response.actionIdentifier == NotificationContent::snoozeAction)
        snoozeCategory(response.categoryIdentifier);
    else if (response.actionIdentifier == NotificationContent::shareReportAction)
        handleShareReportAction(response);
    completion();
}

void NotificationPolicy::snoozeCategory(const std::string& category)
{
    if (category == NotificationContent::driftCategory)
        m_alertDetector.snoozeDrift(m_loop.now());
    else if (category == NotificationContent::offTargetCategory)
        m_alertDetector.snoozeOffTarget(m_loop.now());
    else
        snoozeNotifications(snoozeMinutes);
}

void NotificationPolicy::handleShareReportAction(const NotificationResponse& response)
{
    const auto text = response.userInfo.find(NotificationContent::sessionIDKey);
    if (text == response.userInfo.end())
        return;
    const auto sessionID = uuidFromText(text->second);
    if (sessionID && onShareReport)
        onShareReport(*sessionID);
}

bool NotificationPolicy::isSnoozed() const
{
    return m_snoozedUntil && m_loop.now() < *m_snoozedUntil;
}

} // namespace velmor
