// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppSettings.h>
#include <app/DAWDetectionService.h>
#include <app/DAWIconResolver.h>
#include <app/MonitoringPauseService.h>
#include <app/NotificationPolicy.h>
#include <base/Calendar.h>
#include <base/Lifetime.h>
#include <base/MainLoop.h>
#include <base/Observable.h>
#include <base/Uuid.h>
#include <calibration/CalibrationProfileStore.h>
#include <calibration/CalibrationTrust.h>
#include <calibration/CalibratorService.h>
#include <calibration/MicResponseCalibrationService.h>
#include <calibration/MicrophoneDataFile.h>
#include <calibration/PinkNoisePlayer.h>
#include <calibration/TargetCalibrationService.h>
#include <calibration/TargetCalibrationStore.h>
#include <discipline/MonitoringAlertDetector.h>
#include <discipline/ReferenceLevelTracker.h>
#include <exposure/DoseCalculator.h>
#include <exposure/LeqStatisticsService.h>
#include <level/AudioDeviceManager.h>
#include <level/AudioMeasurementService.h>
#include <level/MicFrequencyCorrection.h>
#include <platform/AudioCapture.h>
#include <platform/AudioHardware.h>
#include <platform/AudioPlayback.h>
#include <platform/DefaultsStore.h>
#include <platform/LoginItem.h>
#include <platform/NotificationCenter.h>
#include <platform/URLEvents.h>
#include <platform/WidgetCenter.h>
#include <platform/Workspace.h>
#include <sessions/SessionManager.h>
#include <sessions/SessionStorage.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmor {

class VelmorURLDispatcher;
class VelmorURLSchemeHandler;

/// What the hub asks of its host. Everything outlives the hub.
struct Host
{
    MainLoop& loop;
    AudioCapture& capture;
    AudioHardware& hardware;
    AudioPlayback& playback;
    DefaultsStore& defaults;
    const Calendar& calendar;
    NotificationCenter& notificationCenter;
    LoginItem& loginItem;
    Workspace& workspace;
    SessionStorage sessionStorage;
    SessionManager::Bundle bundle = SessionManager::Bundle::none;

    // Absent for a program that has no widgets, and that no URLs are opened with.
    DefaultsStore* widgetSuite = nullptr;
    WidgetCenter* widgetCenter = nullptr;
    URLEvents* urlEvents = nullptr;
};

/// Whether a session was running when a Focus turned the program's filter on.
struct FocusPreEnableSessionState
{
    bool wasActive = false;
};

/// Owns the services, wires them, and runs the measurement loop. The services don't know one another:
/// data moves between them here. Whoever shows the program's state observes this object alone: it
/// announces each change of its services but the statistics, which change with every tick anyway, once in
/// a turn of the loop. Main thread.
class AppState final : public ObservableObject
{
public:
    static constexpr double tickIntervalSeconds = 0.1;

    /// Restores the day's dose, reconciles it with the history, and starts the tick and the timer for
    /// the next midnight. A workstation that is running already begins a session as one that starts does.
    explicit AppState(const Host& host);

    /// For those who may outlive the hub, or ask for it while it is being destroyed.
    std::weak_ptr<AppState> weakReference() const { return m_self; }

    Date now() const { return m_loop.now(); }
    const Calendar& calendar() const { return m_calendar; }

    AudioDeviceManager deviceManager;
    DoseCalculator doseCalculator;
    DAWDetectionService dawDetection;
    DAWIconResolver dawIcons;
    SessionManager sessionManager;
    ReferenceLevelTracker referenceTracker;
    MonitoringPauseService pauseService;
    MicFrequencyCorrection micFreqCorrection;
    PinkNoisePlayer pinkNoisePlayer;
    CalibrationProfileStore calibrationProfileStore;
    TargetCalibrationStore targetCalibrationStore;
    TargetCalibrationService targetCalibrationService;
    MonitoringAlertDetector alertDetector;
    LeqStatisticsService leqStatistics;
    AppSettings settings;
    AudioMeasurementService audioService;
    MicResponseCalibrationService micResponseService;
    CalibratorService calibratorService;
    CalibrationTrustService calibrationTrust;
    NotificationPolicy notifications;
    std::shared_ptr<VelmorURLDispatcher> urlDispatcher;
    std::shared_ptr<VelmorURLSchemeHandler> urlHandler;

    /// A session whose report window should open. Whoever opens it clears this.
    Published<std::optional<Uuid>> pendingReportSessionID{*this, {}};

    /// Shows this band in place of the real one; nothing else changes.
    Published<std::optional<DoseLevel>> simulatedDoseLevel{*this, {}};

    /// The band that the interface shows.
    DoseLevel displayDoseLevel() const;

    /// The day's time in the zones, over the finished sessions and what the tracker holds: that is the
    /// running session, and after its end the last one for as long as no other begins.
    ReferenceLevelTracker::DailySummary todaysMonitoringDiscipline() const;

    /// Ticks with live measurement since the start of the program.
    std::int64_t splTickCounter() const { return m_splTickCounter; }

    /// Starts a session and capture. A session that is running gets the name and goes on; its dose,
    /// discipline and alerts begin anew.
    void startSession(const std::string& dawName);

    /// A session named "Manual".
    void manualStartSession();

    /// Ends the session and capture. Doesn't ask whether there is a session: the caller does, where it
    /// matters.
    void endSession();

    /// Ends a running session, for the end of the program: after that nothing begins one any more, and
    /// whoever asks for the hub finds it gone.
    void endForGood();

    // Calibration, as the settings start it. A session wins over all of it.

    /// Measures the microphone's response with noise on the selected output. Ends the listening for a
    /// calibrator. Not while the reference level is being calibrated, whose figure is of the present
    /// response.
    void measureMicResponse();

    /// Whether the calibration of the reference level is under way: its noise plays, or what it has captured
    /// waits to be kept.
    bool isTargetCalibrating() const;

    /// Plays noise on the selected output, to set the monitor controller by. Not while the measurement of the
    /// microphone's response has the noise. \return whether the noise plays.
    bool startTargetCalibration();

    /// Holds the present level for the monitor controller's position.
    void captureTarget();

    /// Keeps the position for the selected output and the present reference level.
    void saveTargetCalibration(std::string_view note);

    /// Keeps the offset, and the correction where there is one, under the text that the user has typed.
    void saveCalibrationProfile(std::string_view typedLabel);

    /// Puts the profile's correction, where it has one, and its offset in force.
    void applyCalibrationProfile(const CalibrationSavedProfile& profile);

    /// Listens for an acoustic calibrator. Not during a session, whose dose would count its tone, nor while
    /// noise plays or the reference level is being calibrated. \param level of the calibrator, dB re 20 µPa.
    /// \return whether it listens.
    bool startCalibrator(double level);

    /// Puts the proposed offset in force, where there is one.
    void acceptCalibratorOffset();

    /// Makes a correction of a microphone's own data, for the rate at which the input was captured last, and
    /// puts it in force. \throws MicrophoneDataError
    void applyMicrophoneData(const MicrophoneData& data);

    /// The chain that is measured with now.
    InputChain inputChain() const;

    /// The name of the selected input.
    std::string inputName() const;

    /// Brings the trust in the figures up to date at once; by itself it follows in the next turn of the loop.
    void updateCalibrationTrust();

    void requestOpenReport(const Session& session);

    /// Removes a session from the history. One of today takes its share of the day's dose with it.
    void deleteSession(const Session& session);

    /// Removes the day's finished sessions and begins its dose anew. A running session goes on.
    void resetDose();

    void captureFocusPreEnableSessionState(bool wasActive);

    bool hasFocusPreEnableSessionState() const { return m_focusPreEnableSessionState.has_value(); }

    /// What was captured, once.
    std::optional<FocusPreEnableSessionState> consumeFocusPreEnableSessionState();

    /// Brings the record that widgets draw from up to date. \param reload whether they are told.
    void writeWidgetSnapshot(bool reload);

    /// The label that widgets show for a reference level: "Mastering", "K-14", "K-12", "K-20", or "Custom".
    static std::string shortPresetLabel(const std::string& presetID);

    /// The calendar that the hub was given answers for another time zone now.
    void timeZoneChanged();

    /// Ends whatever calibration is under way, with what is heard of it.
    void cancelCalibrations();

    /// Brings the services back in step with what an import wrote to the store and to the disk. A session
    /// that runs keeps the dose that it is adding to.
    void refreshAfterTovikImport();

private:
    void setupSettings();
    void setupDAWCallbacks();
    void setupDoseCallbacks();
    void setupAudioServiceCallbacks();
    void followInputDevices();
    void startMissingCapture();
    void setupAlertCallbacks();
    void setupCalibration();
    void calibrationNoiseChanged(bool isPlaying);
    void updateCalibrationTrustSoon();
    void calibrate(const CalibrationRecord& record);
    double correctionGain() const;
    int usedChannel(const std::optional<AudioDevice>& device) const;
    std::optional<AudioDevice> usedInput() const;
    std::string outputName() const;
    void setupURLs(const Host& host);
    void followForWidgets();
    void forwardChanges();
    void forwardChangesOf(ObservableObject& child);
    void applyLaunchAtLogin(bool isWanted);
    double todaysCompletedDose() const;
    void reconcileDose();
    void reloadCustomDAWs();

    void startSPLFeed();
    void followClock();
    void tick();
    void startReadingSampler();
    void sampleReading();
    void scheduleMidnightReset();
    void performDailyReset();

    MainLoop& m_loop;
    AudioHardware& m_hardware;
    DefaultsStore& m_defaults;
    const Calendar& m_calendar;
    LoginItem& m_loginItem;
    DefaultsStore* m_widgetSuite;
    WidgetCenter* m_widgetCenter;
    std::optional<FocusPreEnableSessionState> m_focusPreEnableSessionState;
    std::int64_t m_splTickCounter = 0;
    Date m_lastTickTime;
    Timer m_splUpdateTimer;
    Timer m_readingSampleTimer;
    Timer m_midnightResetTimer;
    Timer m_captureRetryTimer;
    bool m_hasChangeToAnnounce = false;
    bool m_isTrustOutdated = false;
    bool m_isFilterChecked = false; ///< The departure below is of the present profile.
    std::optional<double> m_filterDeparture;
    InputChain m_calibratorChain; ///< Of the calibrator's run, or of its proposal.
    Date m_proposalDate;
    std::optional<ReferenceLevelSettings> m_announcedReference; ///< What widgets were last told of.
    std::vector<Subscription> m_subscriptions;
    Lifetime m_lifetime;
    std::shared_ptr<AppState> m_self{this, [](AppState*) {}}; ///< Owns nothing; gone before all else.
};

} // namespace velmor
