#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Writes the CSV exports of the session history beside it.

The results serve as an independent reference for the program's own exports:
csv-utc.csv, csv-berlin.csv and csv-kathmandu.csv hold the table of sessions
and the daily totals as seen in three time zones, and series.csv holds the
readings of all finished sessions, which do not depend on the zone. The history
is in no order and holds awkward names, halves that a rounding has to decide,
clocks that were set back, days of 23 and 25 hours and a session that still
runs.
"""

import json
import math
import pathlib
from datetime import datetime, timezone
from zoneinfo import ZoneInfo

HERE = pathlib.Path(__file__).resolve().parent
ISO_DATE = "%Y-%m-%dT%H:%M:%SZ"

SESSION_HEADER = (
    "Date,DAW,Start,End,Start ISO,Duration (min),Avg dBA,Peak dBA,Peak dBC,"
    "Leq dBA,L10 dBA,L50 dBA,L90 dBA,Target dBA,Tolerance dBA,Time under (s),"
    "Time on target (s),Time over (s),Time silent (s),On-target %,"
    "Impulses ≥135 dBC,Impulses ≥140 dBC,Peaks ≥115 dBA,Dose %"
)
DAY_HEADER = (
    "Date,Sessions,Total dose %,Peak dBA,Peak dBC,"
    "Impulses ≥135 dBC,Impulses ≥140 dBC,Peaks ≥115 dBA"
)
SERIES_HEADER = "Time,dBA,dBC,Day dose %,Zone"

DISCIPLINE_KEYS = (
    "monitoringTarget",
    "monitoringTolerance",
    "timeUnderSec",
    "timeOnTargetSec",
    "timeOverSec",
    "timeSilentSec",
)
COUNT_KEYS = ("peakCount135", "peakCount140", "peakDBACount115")


def parse_date(text):
    return datetime.strptime(text, ISO_DATE).replace(tzinfo=timezone.utc)


def total(values):
    # Newer interpreters compensate in sum(), a plain addition does not.
    result = 0.0
    for value in values:
        result += value
    return result


def load_finished_sessions():
    """Returns the sessions that have ended, oldest first."""
    sessions = []
    for session in json.loads((HERE / "history.json").read_text(encoding="utf-8")):
        if session.get("endDate") is None:
            continue
        # Older files lack these keys.
        for key in DISCIPLINE_KEYS + COUNT_KEYS + ("peakDBC",):
            if session.get(key) is None:
                session[key] = 0
        session["start"] = parse_date(session["startDate"])
        session["end"] = parse_date(session["endDate"])
        sessions.append(session)
    return sorted(sessions, key=lambda session: session["start"])


def escape(text):
    if any(special in text for special in ',"\n\r'):
        return '"' + text.replace('"', '""') + '"'
    return text


def level(value):
    return "%.1f" % value if value > 0 else ""


def exceeded_level(ascending, fraction):
    position = (1.0 - fraction) * (len(ascending) - 1)
    index = math.floor(position)
    if position - index >= 0.5:
        index += 1
    return ascending[min(max(index, 0), len(ascending) - 1)]


def statistics(levels):
    """Returns the energy mean and the 10, 50 and 90 % levels, if there are any."""
    if len(levels) < 2:
        return None
    energy = total(10.0 ** (value / 10.0) for value in levels)
    ascending = sorted(levels)
    return [10.0 * math.log10(energy / len(levels))] + [
        exceeded_level(ascending, fraction) for fraction in (0.1, 0.5, 0.9)
    ]


def session_row(session, zone):
    start = session["start"].astimezone(zone)
    end = session["end"].astimezone(zone)
    duration = (session["end"] - session["start"]).total_seconds()
    figures = statistics([float(reading["dBA"]) for reading in session["readings"]])
    active = session["timeUnderSec"] + session["timeOnTargetSec"] + session["timeOverSec"]
    disciplined = session["monitoringTarget"] > 0 and active > 0

    row = [
        start.strftime("%Y-%m-%d"),
        escape(session["dawName"]),
        start.strftime("%H:%M:%S"),
        end.strftime("%H:%M:%S"),
        session["start"].strftime(ISO_DATE),
        "%.1f" % (duration / 60.0),
        level(session["averageSPL"]),
        level(session["peakSPL"]),
        level(session["peakDBC"]),
    ]
    row += ["%.1f" % figure for figure in figures] if figures else [""] * 4
    row += ["%.0f" % session[key] if disciplined else "" for key in DISCIPLINE_KEYS]
    row.append("%.0f" % (session["timeOnTargetSec"] / active * 100.0) if active >= 30.0 else "")
    row += ["%d" % session[key] for key in COUNT_KEYS]
    row.append("%.2f" % session["doseAccumulated"])
    return ",".join(row)


def day_row(day, sessions):
    row = [
        day.strftime("%Y-%m-%d"),
        "%d" % len(sessions),
        "%.2f" % total(session["doseAccumulated"] for session in sessions),
        level(max(session["peakSPL"] for session in sessions)),
        level(max(session["peakDBC"] for session in sessions)),
    ]
    row += ["%d" % sum(session[key] for session in sessions) for key in COUNT_KEYS]
    return ",".join(row)


def session_table(sessions, zone):
    days = {}
    for session in sessions:
        days.setdefault(session["start"].astimezone(zone).date(), []).append(session)

    lines = [SESSION_HEADER]
    lines += [session_row(session, zone) for session in sessions]
    if days:
        lines += ["", "Daily totals", DAY_HEADER]
        lines += [day_row(day, days[day]) for day in sorted(days)]
    return lines


def series_table(sessions):
    lines = [SERIES_HEADER]
    for session in sessions:
        for reading in session["readings"]:
            dbc = reading.get("dBC") or 0
            row = [
                parse_date(reading["timestamp"]).strftime(ISO_DATE),
                "%.2f" % reading["dBA"],
                "%.2f" % dbc if dbc != 0 else "",
                "%.2f" % reading["dosePercentageAtTime"],
                reading.get("zone") or "",
            ]
            lines.append(",".join(row))
    return lines


def write(name, lines):
    (HERE / name).write_bytes("\n".join(lines).encode("utf-8"))


def main():
    sessions = load_finished_sessions()
    write("csv-utc.csv", session_table(sessions, timezone.utc))
    write("csv-berlin.csv", session_table(sessions, ZoneInfo("Europe/Berlin")))
    write("csv-kathmandu.csv", session_table(sessions, ZoneInfo("Asia/Kathmandu")))
    write("series.csv", series_table(sessions))


if __name__ == "__main__":
    main()
