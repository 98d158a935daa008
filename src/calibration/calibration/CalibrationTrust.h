// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Date.h>
#include <base/JsonMembers.h>
#include <base/Observable.h>
#include <level/AudioMeasurementService.h>
#include <platform/AudioHardware.h>
#include <platform/DefaultsStore.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace velmor {

/// How the calibration offset was found.
enum class CalibrationMethod {
    never,      ///< It is the program's default.
    slider,     ///< Set by hand, against a reference meter or by ear.
    calibrator, ///< With an acoustic calibrator.
    profile,    ///< From a saved profile.
};

std::string_view rawValue(CalibrationMethod method);

/// The chain from the microphone to the program. What isn't known of it is absent.
struct InputChain
{
    std::string deviceUID; ///< Of the device that is used, the system's default included; empty without any.
    std::string deviceName;
    std::optional<std::int64_t> channel;    ///< From 0.
    std::optional<double> volumeGain;       ///< In the system's mixer, a factor.
    std::optional<double> correctionGainDB; ///< Of the microphone's correction at 1 kHz; 0 while it is off.

    bool operator==(const InputChain&) const = default;
};

/// How, when and on what the offset was found that is in force.
struct CalibrationRecord
{
    CalibrationMethod method = CalibrationMethod::never;
    double offset = 0;                     ///< dB
    std::optional<double> calibratorLevel; ///< dB re 20 µPa; of a calibrator only.
    Date date;
    InputChain chain;

    bool operator==(const CalibrationRecord&) const = default;
};

template <>
inline constexpr auto jsonMembers<InputChain> = std::tuple(
    std::pair("deviceUID", &InputChain::deviceUID), std::pair("deviceName", &InputChain::deviceName),
    std::pair("channel", &InputChain::channel), std::pair("volumeGain", &InputChain::volumeGain),
    std::pair("correctionGainDB", &InputChain::correctionGainDB));

template <>
inline constexpr auto jsonMembers<CalibrationRecord> = std::tuple(
    std::pair("method", &CalibrationRecord::method), std::pair("offset", &CalibrationRecord::offset),
    std::pair("calibratorLevel", &CalibrationRecord::calibratorLevel),
    std::pair("date", &CalibrationRecord::date), std::pair("chain", &CalibrationRecord::chain));

/// What the program knows of its input now.
struct CalibrationFacts
{
    double offset = 0;           ///< The one that is in force, dB.
    bool isOffsetStored = false; ///< Or else the default.
    InputChain chain;
    InputFaults faults;
    bool isMuted = false; ///< In the system's mixer.
    bool isCorrectionOn = false;
    std::optional<double> correctionSampleRate; ///< Hertz; absent without a profile.
    std::optional<double> filterDeparture;      ///< dB, from filterDeparture(); absent without a profile.
    std::optional<double> captureSampleRate;    ///< Hertz; absent while nothing is captured.
};

/// Whether the figures can be believed.
struct CalibrationTrust
{
    CalibrationMethod method = CalibrationMethod::never;
    std::optional<Date> date; ///< Of the calibration; absent where there was none or nobody noted it.
    std::optional<double> calibratorLevel;
    std::optional<double> filterDeparture; ///< As of the facts.
    std::vector<std::string> concerns; ///< Phrases about what has changed since, or is wrong with the input.

    /// Whole days since the calibration, never below 0.
    std::optional<std::int64_t> ageInDays(Date now) const;

    bool operator==(const CalibrationTrust&) const = default;
};

/// Works out the trust. \param record of the calibration that the offset is from; absent where there is none.
CalibrationTrust calibrationTrust(const std::optional<CalibrationRecord>& record,
                                  const CalibrationFacts& facts);

/// Keeps the record beside the setting, and publishes the trust as it stands. Main thread.
class CalibrationTrustService final : public ObservableObject
{
public:
    static constexpr auto defaultsKey = "calibrationRecord_v1";

    explicit CalibrationTrustService(DefaultsStore& defaults);

    /// Announced only when it changes.
    Published<CalibrationTrust> trust{*this, {}};

    const std::optional<CalibrationRecord>& record() const { return m_record; }

    /// The offset that is in force from now on is of that calibration.
    void note(const CalibrationRecord& record);

    /// The offset has come from somewhere else, and nobody knows how it was found.
    void forget();

    void update(const CalibrationFacts& facts);

private:
    DefaultsStore& m_defaults;
    std::optional<CalibrationRecord> m_record;
};

} // namespace velmor
