// SPDX-License-Identifier: GPL-3.0-or-later
#include <widget/WidgetLine.h>

#include <base/JsonWriter.h>
#include <base/Markup.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace velmor {

namespace {

constexpr auto dash = "—";

/// While it measures the program tells once a minute: a level that is older is that of a program which has
/// ended without a word.
constexpr auto longestLife = std::chrono::seconds(90);

std::string_view label(DisciplineZone zone)
{
    switch (zone) {
    case DisciplineZone::silent:
        return "Silent";
    case DisciplineZone::under:
        return "Under target";
    case DisciplineZone::onTarget:
        return "On target";
    case DisciplineZone::over:
        return "Over target";
    }
    return dash;
}

} // namespace

WidgetLine::WidgetLine(const VelmorWidgetSnapshot& snapshot, const Calendar& calendar, Date now)
    : m_snapshot(snapshot)
    , m_calendar(calendar)
    , m_now(now)
{}

std::string WidgetLine::text() const
{
    std::string line = dose();
    if (m_snapshot.hasData())
        line += fmt::format(" {}", rawValue(m_snapshot.effectiveBand(m_calendar, m_now)));
    line += " · " + level();
    if (isLive() && m_snapshot.disciplineZone)
        line += fmt::format(" · {}", label(*m_snapshot.disciplineZone));
    return line;
}

std::string WidgetLine::json() const
{
    const std::string_view band = rawValue(m_snapshot.effectiveBand(m_calendar, m_now));
    const double percentage = std::clamp(m_snapshot.effectiveTodayDose(m_calendar, m_now), 0.0, 100.0);
    JsonWriter json(JsonWriter::Layout::compact);
    json.beginObject();
    json.member("text", std::string_view(dose() + " · " + level()));
    json.member("alt", band);
    json.member("tooltip", std::string_view(tooltip()));
    json.key("class");
    json.beginArray();
    json.value(band);
    json.value(isLive() ? "live" : "idle");
    if (isLive() && m_snapshot.disciplineZone)
        json.value(rawValue(*m_snapshot.disciplineZone));
    json.endArray();
    json.member("percentage", std::int64_t(std::floor(percentage)));
    json.endObject();
    return json.text().value_or("{}");
}

std::optional<Date> WidgetLine::validUntil() const
{
    if (!m_snapshot.isFromToday(m_calendar, m_now))
        return std::nullopt;
    const auto midnight = m_calendar.nextMidnight(m_now);
    if (!isLive())
        return midnight;
    const Date endOfLife = m_snapshot.updatedAt + longestLife;
    return midnight ? std::min(*midnight, endOfLife) : endOfLife;
}

bool WidgetLine::isLive() const
{
    return m_snapshot.hasLiveSPL(m_calendar, m_now) && m_now - m_snapshot.updatedAt < longestLife;
}

std::string WidgetLine::dose() const
{
    return m_snapshot.hasData() ? fmt::format("{:.1f}%", m_snapshot.effectiveTodayDose(m_calendar, m_now))
                                : dash;
}

std::string WidgetLine::level() const
{
    return isLive() ? fmt::format("{:.1f} dBA", m_snapshot.lastDBA) : dash;
}

std::string WidgetLine::tooltip() const
{
    if (!m_snapshot.hasData())
        return "Velmor has measured nothing yet.";
    std::string text =
        fmt::format("Dose {} ({})", dose(), rawValue(m_snapshot.effectiveBand(m_calendar, m_now)));
    if (isLive()) {
        text += fmt::format("\nLevel {:.1f} dBA, {:.1f} dBC", m_snapshot.lastDBA, m_snapshot.lastDBC);
        if (m_snapshot.disciplineZone) {
            text += fmt::format("\n{}: {:.1f} ± {:.1f} dBA ({})", label(*m_snapshot.disciplineZone),
                                m_snapshot.monitoringTarget, m_snapshot.monitoringTolerance,
                                markupEscaped(m_snapshot.monitoringPreset));
        }
    } else if (m_snapshot.paused && m_snapshot.isFromToday(m_calendar, m_now)) {
        text += "\nPaused";
    }
    if (m_snapshot.dawName && m_snapshot.isFromToday(m_calendar, m_now))
        text += "\nSession " + markupEscaped(*m_snapshot.dawName);
    if (m_snapshot.weeklyLEX)
        text += fmt::format("\nWeek {:.1f} dB LEX", *m_snapshot.weeklyLEX);
    return text;
}

} // namespace velmor
