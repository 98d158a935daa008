// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Calendar.h>
#include <base/Date.h>
#include <platform/DefaultsStore.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmor {

/// A zone as widgets know it.
enum class DisciplineZone { silent, under, onTarget, over };

/// The text that is stored: "silent", "under", "onTarget", "over".
std::string_view rawValue(DisciplineZone zone);

std::optional<DisciplineZone> disciplineZoneFromRaw(std::string_view text);

/// Band of the daily dose as widgets draw it. Widgets share no code with the program: the band is their own.
enum class DoseBand {
    safe,    ///< Below 40 %.
    caution, ///< 40 % up to below 70 %.
    warning, ///< 70 % up to below 90 %.
    danger,  ///< 90 % and above, and what is no number.
};

DoseBand doseBandFrom(double percentage);

/// "safe", "caution", "warning", "danger".
std::string_view rawValue(DoseBand band);

/// All that a widget needs, as of one moment. The program writes it, widgets in their own processes read it.
/// Levels in dB, doses and shares in percent.
struct VelmorWidgetSnapshot
{
    static constexpr auto appGroupID = "QX7R2M4K9T.com.brightfen.Velmor"; ///< Names the shared suite.
    static constexpr auto storageKey = "VelmorWidgetSnapshot.v1";

    double todayDosePercent = 0;
    double lastDBA = 0;
    double lastDBC = 0;
    bool isMeasuring = false;
    bool sessionActive = false;
    bool paused = false;
    std::optional<std::string> dawName; ///< Of the running session.
    std::int64_t streakDays = 0;        ///< Finished days in a row below 50 %.
    std::optional<double> weeklyLEX;    ///< dB
    std::vector<double> weeklyDoses;    ///< Seven, today last.
    bool monitoringEnabled = true;
    double monitoringTarget = 79.0;   ///< dBA
    double monitoringTolerance = 3.0; ///< dB
    std::string monitoringPreset = "K-14";
    std::optional<DisciplineZone> disciplineZone; ///< Absent when not live.
    std::optional<double> onTargetPercent;        ///< Of the running session.
    std::optional<double> weeklyOnTargetPercent;
    std::vector<std::optional<double>> weeklyOnTargetByDay; ///< Seven, today last.
    Date updatedAt; ///< When it was written; the begin of 1970 for the empty record.

    bool operator==(const VelmorWidgetSnapshot&) const = default;

    /// A made-up record, for a preview.
    static VelmorWidgetSnapshot sample(Date now);

    /// The record in the suite; the empty one where there is none that can be read.
    static VelmorWidgetSnapshot load(const DefaultsReader& suite);

    /// Stores the record in the suite. One that has no JSON form, as with a number that is not finite, is
    /// dropped, and the one before it stays.
    void save(DefaultsStore& suite) const;

    /// As one JSON object, in UTF-8; absent when a number is not finite.
    std::optional<std::string> encoded() const;

    /// Reads what encoded() wrote. Absent for anything else, and where a key that must be there is missing.
    static std::optional<VelmorWidgetSnapshot> decoded(std::string_view json);

    DoseBand band() const { return doseBandFrom(todayDosePercent); }
    bool isFromToday(const Calendar& calendar, Date now) const { return calendar.isSameDay(updatedAt, now); }
    bool hasData() const { return updatedAt > Date(); }
    bool hasLiveSPL(const Calendar& calendar, Date now) const
    {
        return isMeasuring && !paused && isFromToday(calendar, now);
    }
    bool isStale(const Calendar& calendar, Date now) const
    {
        return hasData() && !isFromToday(calendar, now);
    }
    double effectiveTodayDose(const Calendar& calendar, Date now) const
    {
        return isFromToday(calendar, now) ? todayDosePercent : 0;
    }
    DoseBand effectiveBand(const Calendar& calendar, Date now) const
    {
        return isFromToday(calendar, now) ? band() : DoseBand::safe;
    }
    double monitoringDeviation() const { return lastDBA - monitoringTarget; }

    struct Band
    {
        double lowest;
        double highest;

        bool operator==(const Band&) const = default;
    };

    /// Both edges belong to it. dBA.
    Band monitoringBand() const
    {
        return {monitoringTarget - monitoringTolerance, monitoringTarget + monitoringTolerance};
    }

    std::optional<DisciplineZone> liveDisciplineZone(const Calendar& calendar, Date now) const
    {
        return hasLiveSPL(calendar, now) ? disciplineZone : std::nullopt;
    }
};

} // namespace velmor
