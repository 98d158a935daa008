// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Calendar.h>
#include <base/Date.h>
#include <integrations/VelmorWidgetSnapshot.h>

#include <optional>
#include <string>

namespace velmor {

/// The record as one line of a desktop's bar. An em dash stands for what isn't known or measured.
class WidgetLine
{
public:
    WidgetLine(const VelmorWidgetSnapshot& snapshot, const Calendar& calendar, Date now);

    /// The dose with its band, the live level, and the zone where there is one.
    std::string text() const;

    /// What Waybar's custom module reads: text, alt, tooltip, class and percentage, in one object. The
    /// texts are markup.
    std::string json() const;

    /// When the same record makes another line; absent where it never does.
    std::optional<Date> validUntil() const;

private:
    bool isLive() const;
    std::string dose() const;
    std::string level() const;
    std::string tooltip() const;

    const VelmorWidgetSnapshot& m_snapshot;
    const Calendar& m_calendar;
    Date m_now;
};

} // namespace velmor
