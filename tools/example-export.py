#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Writes an export file as Tovik would: settings, a calibration of everything, some weeks of sessions, and a dose of
today. For trying out the import: python3 tools/example-export.py [--days N] [--readings N] FILE"""

import argparse
import datetime
import json
import math
import random
import uuid


def iso(moment):
    return moment.strftime("%Y-%m-%dT%H:%M:%SZ")


def session(generator, start, reading_count):
    target, tolerance = 79.0, 3.0
    readings, dose = [], 0.0
    zone_seconds = {"silent": 0, "under": 0, "onTarget": 0, "over": 0}
    energy, highest = 0.0, 0.0
    for i in range(reading_count):
        level = target + 4 * math.sin(i / 40) + generator.gauss(0, 1.5)
        zone = "under" if level < target - tolerance else "over" if level > target + tolerance else "onTarget"
        zone_seconds[zone] += 10
        energy += 10 ** (level / 10)
        highest = max(highest, level)
        # NIOSH: 8 hours at 85 dBA are the whole dose, 3 dB halve the time, and below 80 dBA nothing counts.
        if level >= 80:
            dose += 100 * 10 / (8 * 3600 / 2 ** ((level - 85) / 3))
        readings.append({"timestamp": iso(start + datetime.timedelta(seconds=10 * (i + 1))), "dBA": level,
                         "dBC": level + 3, "dosePercentageAtTime": dose, "zone": zone})
    return {"id": str(uuid.UUID(int=generator.getrandbits(128), version=4)).upper(), "startDate": iso(start),
            "endDate": iso(start + datetime.timedelta(seconds=10 * reading_count)), "dawName": "REAPER",
            "averageSPL": 10 * math.log10(energy / reading_count), "peakSPL": highest, "peakDBC": highest + 20,
            "doseAccumulated": dose, "peakCount135": 0, "peakCount140": 0, "peakDBACount115": 0,
            "monitoringTarget": target, "monitoringTolerance": tolerance, "timeSilentSec": zone_seconds["silent"],
            "timeUnderSec": zone_seconds["under"], "timeOnTargetSec": zone_seconds["onTarget"],
            "timeOverSec": zone_seconds["over"], "readings": readings}


def export(days, reading_count):
    generator = random.Random(1)
    now = datetime.datetime.now(datetime.timezone.utc)
    last_week = iso(now - datetime.timedelta(days=7))
    correction = {"taps": [1.0] + [0.0] * 127, "sampleRate": 48000, "measuredDate": last_week,
                  "correctionCurve": [{"frequency": 20 * 2 ** (i / 3), "gainDB": math.sin(i / 4)}
                                      for i in range(30)]}
    sessions = [session(generator, now - datetime.timedelta(days=day, hours=2), reading_count)
                for day in range(days, 0, -1)]
    return {
        "schemaVersion": 1, "exportedFromTovikVersion": "3.2", "exportedFromTovikBuild": "118",
        "userDefaults": {"calibrationOffset": 101.5, "conservativeDoseMode": False, "peakMonitoringEnabled": True,
                         "autoStartSessions": True, "timeSensitiveNotifications": True},
        "sessions": sessions,
        "targetCalibrations": [{"calibratedDate": last_week, "outputDeviceUID": "monitors",
                                "outputDeviceName": "Monitors", "targetDBA": 79, "toleranceDBA": 3,
                                "measuredDBA": 79.2, "knobNote": "noon"}],
        "calibrationProfiles": [{"id": str(uuid.UUID(int=1, version=4)).upper(), "label": "Room",
                                 "deviceUID": "microphone", "deviceName": "Microphone", "levelOffsetAtSave": 101.5,
                                 "savedDate": last_week, "freqProfile": correction}],
        "micFrequencyCorrection": {"enabled": False, "profile": correction},
        "monitoringAlertSettings": {"driftAlertEnabled": True, "offTargetAlertEnabled": True,
                                    "offTargetDirection": "overOnly", "offTargetWindowSec": 900,
                                    "offTargetToleranceDB": 5},
        "referenceLevelSettings": {"enabled": True, "target": 79, "tolerance": 3, "presetID": "k14"},
        "customDAWBundleIDs": [{"bundleID": "org.example.Tracker", "name": "Tracker"}],
        "todayDose": {"date": datetime.date.today().isoformat(), "dosePercent": 12.5, "peakCount135": 0,
                      "peakCount137": 0, "peakCount140": 0, "peakDBACount115": 0},
    }


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--days", type=int, default=20, help="days with a session each (20)")
    parser.add_argument("--readings", type=int, default=360, help="readings of a session, 10 s apart (360)")
    parser.add_argument("file")
    arguments = parser.parse_args()
    with open(arguments.file, "w", encoding="utf-8") as file:
        json.dump(export(arguments.days, arguments.readings), file)


if __name__ == "__main__":
    main()
