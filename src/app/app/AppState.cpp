// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/AppState.h>

#include <app/VelmorURLDispatcher.h>
#include <app/VelmorURLSchemeHandler.h>

#include <algorithm>
#include <utility>

namespace velmor {

namespace {

constexpr double statisticsRateHz = 10.0;
constexpr double captureRetrySeconds = 3.0;

/// The offset, once the device is selected that it was calibrated with.
double offsetForSelectedDevice(AudioDeviceManager& deviceManager, const AppSettings& settings)
{
    deviceManager.selectDevice(settings.selectedDeviceUID);
    return settings.calibrationOffset;
}

} // namespace

AppState::AppState(const Host& host)
    : deviceManager(host.loop, host.hardware, host.defaults)
    , doseCalculator(host.loop, host.defaults, host.calendar)
    , dawDetection(host.workspace, host.defaults)
    , dawIcons(host.workspace, host.defaults)
    , sessionManager(host.loop, host.defaults, host.calendar, host.notificationCenter, host.sessionStorage,
                     host.bundle)
    , referenceTracker(host.defaults, tickIntervalSeconds)
    , micFreqCorrection(host.defaults)
    , pinkNoisePlayer(host.playback, host.hardware)
    , calibrationProfileStore(host.loop, host.defaults)
    , targetCalibrationStore(host.defaults)
    , targetCalibrationService(host.loop)
    , alertDetector(host.defaults)
    , leqStatistics(statisticsRateHz)
    , settings(host.defaults)
    , audioService(host.loop, host.capture, deviceManager, offsetForSelectedDevice(deviceManager, settings))
    , micResponseService(host.loop)
    , calibratorService(host.loop)
    , calibrationTrust(host.defaults)
    , notifications(host.loop, host.notificationCenter, settings, doseCalculator, alertDetector)
    , m_loop(host.loop)
    , m_hardware(host.hardware)
    , m_defaults(host.defaults)
    , m_calendar(host.calendar)
    , m_loginItem(host.loginItem)
    , m_widgetSuite(host.widgetSuite)
    , m_widgetCenter(host.widgetCenter)
{
    audioService.setMicFreqCorrection(&micFreqCorrection);
    setupSettings();
    settings.launchAtLogin = m_loginItem.isEnabled();
    doseCalculator.restorePersistedDose();
    reconcileDose();
    setupDAWCallbacks();
    setupDoseCallbacks();
    setupAudioServiceCallbacks();
    setupAlertCallbacks();
    notifications.onShareReport = [this](const Uuid& sessionID) {
        m_loop.post(m_lifetime.guarded([this, sessionID] { pendingReportSessionID = sessionID; }));
    };
    if (host.bundle == SessionManager::Bundle::installed)
        notifications.setupNotifications();
    startSPLFeed();
    scheduleMidnightReset();
    writeWidgetSnapshot(false);
    setupURLs(host);
    forwardChanges();
    setupCalibration();
    followForWidgets();
    if (dawDetection.isDAWRunning)
        dawDetection.onDAWLaunched(dawDetection.primaryDAWName());
    writeWidgetSnapshot(true);
}

void AppState::setupSettings()
{
    settings.selectedDeviceUID.afterWriting = [this](const std::string& uid) {
        deviceManager.selectDevice(uid);
        audioService.switchDevice();
    };
    settings.calibrationOffset.afterWriting = [this](double offset) {
        audioService.updateCalibrationOffset(offset);
        calibrationTrust.note({CalibrationMethod::slider, offset, std::nullopt, m_loop.now(), inputChain()});
        updateCalibrationTrustSoon();
    };
    // The calculator's own key is the one that counts: it is written first.
    settings.conservativeDoseMode.beforeWriting = [this](bool isConservative) {
        doseCalculator.conservativeMode = isConservative;
        doseCalculator.persistConservativeMode();
    };
    settings.launchAtLogin.afterWriting = [this](bool isWanted) { applyLaunchAtLogin(isWanted); };
}

void AppState::setupDAWCallbacks()
{
    dawDetection.onDAWLaunched = [this](const std::string& dawName) {
        if (settings.autoStartSessions)
            startSession(dawName);
    };
    dawDetection.onAllDAWsQuit = [this] {
        if (settings.autoStartSessions)
            endSession();
    };
}

void AppState::setupDoseCallbacks()
{
    doseCalculator.onThresholdCrossed = [this](DoseLevel level) {
        notifications.sendThresholdNotification(level);
        writeWidgetSnapshot(true);
    };
    doseCalculator.onPeakAlert = [this](double peakDBC) { notifications.sendPeakNotification(peakDBC); };
    doseCalculator.onInstantaneousPeakAlert = [this](double peakDBA) {
        notifications.sendInstantaneousPeakNotification(peakDBA);
    };
}

void AppState::setupAudioServiceCallbacks()
{
    audioService.onDeviceDisconnected = [this] {
        endSession();
        notifications.sendDeviceDisconnectedNotification();
    };
    m_subscriptions.push_back(
        deviceManager.inputDevices.subscribe([this](const auto&) { followInputDevices(); }));
}

// The right to listen may come with the audio server, and a session that could not be measured, because the
// server was away, is measured from here on. Waits for the end of whatever has listed the devices.
void AppState::followInputDevices()
{
    m_loop.post(m_lifetime.guarded([this] {
        if (!audioService.hasPermission)
            audioService.checkPermission();
        startMissingCapture();
        // A device that has just come may need a moment more, or fail in its first moments.
        m_captureRetryTimer = m_loop.every(captureRetrySeconds, [this] {
            const Timer last = std::move(m_captureRetryTimer);
            startMissingCapture();
        });
    }));
}

void AppState::startMissingCapture()
{
    if (sessionManager.currentSession.get() && !audioService.isRunning)
        audioService.start();
}

void AppState::setupAlertCallbacks()
{
    alertDetector.onDriftAlert = [this](const DriftAlertContext& context) {
        notifications.sendDriftNotification(context);
    };
    alertDetector.onOffTargetAlert = [this](const OffTargetAlertContext& context) {
        notifications.sendOffTargetNotification(context);
    };
}

void AppState::setupURLs(const Host& host)
{
    auto dispatcher = std::make_shared<VelmorURLDispatcher>(host.loop, host.workspace, weakReference());
    auto handler = std::make_shared<VelmorURLSchemeHandler>(host.loop, dispatcher);
    if (host.urlEvents)
        handler->registerWith(*host.urlEvents);
    urlDispatcher = std::move(dispatcher);
    urlHandler = std::move(handler);
}

// Both values are published in the middle of a change: the record is written when that is complete.
void AppState::followForWidgets()
{
    const auto write = [this] { m_loop.post(m_lifetime.guarded([this] { writeWidgetSnapshot(true); })); };
    m_subscriptions.push_back(pauseService.isPaused.subscribe([write](bool) { write(); }));
    m_subscriptions.push_back(
        referenceTracker.settings.subscribe([this, write](const ReferenceLevelSettings& reference) {
            if (m_announcedReference == reference)
                return;
            m_announcedReference = reference;
            write();
        }));
}

void AppState::forwardChanges()
{
    forwardChangesOf(sessionManager);
    forwardChangesOf(audioService);
    forwardChangesOf(doseCalculator);
    forwardChangesOf(dawDetection);
    forwardChangesOf(deviceManager);
    forwardChangesOf(pinkNoisePlayer);
    forwardChangesOf(micResponseService);
    forwardChangesOf(calibrationProfileStore);
    forwardChangesOf(micFreqCorrection);
    forwardChangesOf(referenceTracker);
    forwardChangesOf(targetCalibrationStore);
    forwardChangesOf(targetCalibrationService);
    forwardChangesOf(alertDetector);
    forwardChangesOf(pauseService);
    forwardChangesOf(settings);
    forwardChangesOf(calibratorService);
    forwardChangesOf(calibrationTrust);
}

// A tick changes a dozen values: one announcement stands for all of a turn of the loop.
void AppState::forwardChangesOf(ObservableObject& child)
{
    m_subscriptions.push_back(child.onChange([this] {
        if (m_hasChangeToAnnounce)
            return;
        m_hasChangeToAnnounce = true;
        m_loop.post(m_lifetime.guarded([this] {
            m_hasChangeToAnnounce = false;
            announceChange();
        }));
    }));
}

// A registration that the system refuses puts the setting back to what the system has.
void AppState::applyLaunchAtLogin(bool isWanted)
{
    const bool isDone = isWanted ? m_loginItem.registerItem() : m_loginItem.unregisterItem();
    if (isDone)
        return;
    m_loop.post(m_lifetime.guarded([this] {
        const bool isEnabled = m_loginItem.isEnabled();
        if (isEnabled != settings.launchAtLogin.get())
            settings.launchAtLogin = isEnabled;
    }));
}

double AppState::todaysCompletedDose() const
{
    double dose = 0;
    for (const Session& session : sessionManager.sessionHistory.get()) {
        if (session.endDate && m_calendar.isSameDay(session.startDate, m_loop.now()))
            dose += session.doseAccumulated;
    }
    // A file may say anything. What is not finite would make all that is added to it unusable.
    constexpr double mostDose = 1e9;
    return std::clamp(dose, 0.0, mostDose);
}

void AppState::reconcileDose()
{
    doseCalculator.reconcileWithSessions(todaysCompletedDose());
}

// The service tells of running workstations after each reading. Of those that ran before it has told already:
// the user may have ended their session since.
void AppState::reloadCustomDAWs()
{
    const bool isNews = !dawDetection.isDAWRunning && !sessionManager.currentSession.get();
    auto onDAWLaunched = isNews ? nullptr : std::exchange(dawDetection.onDAWLaunched, nullptr);
    dawDetection.reloadCustomDAWs();
    if (!isNews)
        dawDetection.onDAWLaunched = std::move(onDAWLaunched);
}

void AppState::refreshAfterTovikImport()
{
    // A session may have begun meanwhile. Its figures are newer than any store, and it goes on with them.
    const bool isMeasuring = sessionManager.currentSession.get().has_value();
    sessionManager.loadHistory();
    if (!isMeasuring) {
        doseCalculator.restorePersistedDose();
        reconcileDose();
    }
    targetCalibrationStore.reload();
    calibrationProfileStore.reload();
    micFreqCorrection.reload();
    reloadCustomDAWs();
    referenceTracker.reloadSettings();
    alertDetector.reloadSettings();
    const double offsetBefore = settings.calibrationOffset;
    settings.takeImported();
    // Nobody has set it here and now.
    if (settings.calibrationOffset != offsetBefore)
        calibrationTrust.forget();
    settings.launchAtLogin = m_loginItem.isEnabled();
}

} // namespace velmor
