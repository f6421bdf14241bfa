"""Prints when the events of a calendar file are, as a clock in Berlin shows it: a line a time, with the event's title.

A reader that nobody here wrote: python's icalendar reads the file, dateutil the rules. What has no zone is what the
clock shows; all else is brought to Berlin.
"""
import datetime
import sys
import zoneinfo

import icalendar
from dateutil import rrule

BERLIN = zoneinfo.ZoneInfo("Europe/Berlin")


def shown(moment):
    if not isinstance(moment, datetime.datetime) or moment.tzinfo is None:
        return moment
    return moment.astimezone(BERLIN).replace(tzinfo=None)


def excluded(event):
    dates = event.get("EXDATE", [])
    for line in dates if isinstance(dates, list) else [dates]:
        for date in line.dts:
            yield date.dt


def times(event):
    start = event["DTSTART"].dt
    if "RRULE" not in event:
        return [start]
    rule = event["RRULE"].to_ical().decode()
    if isinstance(start, datetime.datetime):
        left_out = set(excluded(event))
        return [time for time in rrule.rrulestr(rule, dtstart=start) if time not in left_out]
    midnight = datetime.datetime.combine(start, datetime.time())
    return [time.date() for time in rrule.rrulestr(rule, dtstart=midnight) if time.date() not in set(excluded(event))]


lines = []
with open(sys.argv[1], encoding="utf-8") as file:
    for calendar in icalendar.Calendar.from_ical(file.read(), multiple=True):
        for event in calendar.walk("VEVENT"):
            for time in times(event):
                lines.append(f"{shown(time)} {event['SUMMARY']}")
        for task in calendar.walk("VTODO"):
            due = shown(task["DUE"].dt) if "DUE" in task else "-"
            done = shown(task["COMPLETED"].dt) if "COMPLETED" in task else "-"
            lines.append(f"due {due} done {done} {task['SUMMARY']}")
print("\n".join(sorted(lines)))
