// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <support/SampleSessions.h>
#include <ui/SessionReportContent.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace velmor::test {

/// A session as a mixing engineer's day has it: phrases, breaks, a loud passage now and then.
/// \param readings one in 10 seconds.
inline Session mixingSession(int readings)
{
    std::mt19937_64 generator(7);
    const auto noise = [&generator] { return static_cast<double>(generator() % 1000) / 500.0 - 1.0; };
    const Date start = moment("2025-03-04T09:12:00Z");
    Session session = sampleSession(start, 0);
    session.dawName = "REAPER";
    session.endDate = start + std::chrono::seconds(10 * readings);
    double energy = 0;
    for (int i = 0; i < readings; ++i) {
        const bool isBreak = i % 240 > 205;
        const double phrase = 4 * std::sin(i / 23.0) + 2.5 * std::sin(i / 7.0) + 2 * noise();
        const double dBA = isBreak ? 42 + noise() : 79.5 + phrase + (i % 400 < 30 ? 7 : 0);
        session.readings.push_back({start + std::chrono::seconds(10 * (i + 1)), dBA, 0.02 * i,
                                    dBA + 6 + 1.5 * noise(), classifyLevel(dBA, 79, 3)});
        energy += std::pow(10.0, dBA / 10);
    }
    session.averageSPL = readings > 0 ? 10 * std::log10(energy / readings) : 78.4;
    session.peakSPL = 94.6;
    session.peakDBC = 118.2;
    session.doseAccumulated = 12.4;
    session.peakCount135 = 2;
    session.peakCount140 = 0;
    session.peakDBACount115 = 1;
    session.timeSilentSec = 1040;
    session.timeUnderSec = 1320;
    session.timeOnTargetSec = 4310;
    session.timeOverSec = 830;
    return session;
}

inline Session withoutDiscipline(Session session)
{
    session.monitoringTarget = 0;
    session.timeSilentSec = session.timeUnderSec = session.timeOnTargetSec = session.timeOverSec = 0;
    return session;
}

inline Session withoutReadings(Session session)
{
    session.readings.clear();
    return session;
}

inline Session withName(Session session, std::string name)
{
    session.dawName = std::move(name);
    return session;
}

/// A zone that changes with each reading or every few, over eight hours.
inline Session restlessSession()
{
    Session session = mixingSession(2880);
    std::mt19937_64 generator(11);
    for (SPLReading& reading : session.readings)
        reading.zone = static_cast<Zone>(generator() % 4);
    session.dawName = "Bitwig Studio";
    return session;
}

inline ReportCircumstances sampleCircumstances()
{
    ReportCircumstances circumstances{
        moment("2025-03-05T08:30:00Z"), Calendar::inZone("Europe/Berlin").value(), {}};
    circumstances.calibration.method = CalibrationMethod::calibrator;
    circumstances.calibration.calibratorLevel = 94.0;
    circumstances.calibration.date = moment("2025-03-01T10:00:00Z");
    return circumstances;
}

} // namespace velmor::test
