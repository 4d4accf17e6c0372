#!/usr/bin/env python3
"""Compares the importer's iCalendar reader with the Python icalendar package.

Usage: ical_compare.py DUMP_PROGRAM [ICS_DIR]

For every .ics file in ICS_DIR (default: the calendars that ship with the
icalendar package's tests) the dump program's JSON is compared event by
event with an independent decoding: summary, location, description, start
and end in UTC, all-day, organizer and attendees. A field may differ only
where EXPECTED_DIFFERENCES names it with the reason; an entry there that no
longer differs is reported too. Every file is also fed truncated and with
flipped bytes: the dump program must still exit cleanly with JSON.
"""

import calendar
import datetime
import glob
import json
import os
import random
import subprocess
import sys
import tempfile

import icalendar

# (file, event index, field) -> why the two decodings differ.
EXPECTED_DIFFERENCES = {
    ("multiple.ics", 0, "summary"):
        "lines are folded across an empty line; libical does not join them"
        " (RFC 5545 folding is one line break and one blank), so the first"
        " event's properties are unreadable",
    ("multiple.ics", 0, "start"): "the same folding across an empty line",
    ("multiple.ics", 0, "end"): "the same folding across an empty line",
    ("multiple.ics", 0, "all_day"): "the same folding across an empty line",
}

# Files the icalendar package cannot decode, with the reason and what the
# reader must find instead, worked out by hand from the file.
PYTHON_CANNOT_READ = {
    "america_new_york.ics": (
        "dateutil refuses the VTIMEZONE's RRULE (UNTIL in UTC with a local"
        " DTSTART); 08:00 EDT on 2014-08-29 is 12:00 UTC, the first of the"
        " two DTSTARTs counts and there is no end",
        [{"summary": "an event with a custom tz name",
          "start": 1409313600, "end": 1409313600}]),
}

FIELDS = ("summary", "location", "description", "start", "end", "all_day",
          "organizer", "attendees")


def first(value):
    """A property given twice arrives as a list: the first one counts."""
    return value[0] if isinstance(value, list) else value


def text(event, name):
    value = first(event.get(name))
    return "" if value is None else str(value)


def address(prop):
    value = str(prop)
    if value.lower().startswith("mailto:"):
        value = value[len("mailto:"):]
    return {"name": str(prop.params.get("CN", "")), "address": value}


def to_seconds(value):
    """Dates count from 00:00 UTC, floating times as UTC."""
    if isinstance(value, datetime.datetime):
        if value.tzinfo is None:
            value = value.replace(tzinfo=datetime.timezone.utc)
        return int(value.timestamp())
    return calendar.timegm(value.timetuple())


def decoded(event, name):
    prop = first(event.get(name))
    return None if prop is None else prop.dt


def end_after(start, duration):
    """Days are calendar days in the start's zone, the rest exact time."""
    if not isinstance(start, datetime.datetime) or start.tzinfo is None \
            or not hasattr(start.tzinfo, "localize"):
        return to_seconds(start + duration)
    days = datetime.timedelta(days=duration.days)
    local = start.replace(tzinfo=None) + days
    zone = getattr(start.tzinfo, "_tzinfos", None) and start.tzinfo
    moved = start.tzinfo.localize(local) if zone is None else \
        zone.localize(local)
    return to_seconds(moved) + int((duration - days).total_seconds())


def python_event(event):
    start = decoded(event, "DTSTART")
    result = {
        "summary": text(event, "SUMMARY"),
        "location": text(event, "LOCATION"),
        "description": text(event, "DESCRIPTION"),
        "start": 0, "end": 0, "all_day": False,
        "organizer": {"name": "", "address": ""},
        "attendees": [],
    }
    if start is not None:
        all_day = not isinstance(start, datetime.datetime)
        result["all_day"] = all_day
        result["start"] = to_seconds(start)
        end = decoded(event, "DTEND")
        duration = decoded(event, "DURATION")
        if end is not None:
            result["end"] = to_seconds(end)
        elif duration is not None:
            result["end"] = end_after(start, duration)
        else:
            result["end"] = result["start"] + (86400 if all_day else 0)
    organizer = first(event.get("ORGANIZER"))
    if organizer is not None:
        result["organizer"] = address(organizer)
    attendees = event.get("ATTENDEE", [])
    if not isinstance(attendees, list):
        attendees = [attendees]
    result["attendees"] = [address(a) for a in attendees]
    return result


def python_events(path):
    with open(path, "rb") as f:
        calendars = icalendar.Calendar.from_ical(f.read(), multiple=True)
    return [python_event(event) for cal in calendars
            for event in cal.walk("VEVENT")]


def dump(program, path):
    done = subprocess.run([program, path], capture_output=True, timeout=60)
    if done.returncode != 0:
        raise RuntimeError("%s exited with %d on %s: %s" % (
            program, done.returncode, path, done.stderr.decode(errors="replace")))
    return json.loads(done.stdout)


def reader_event(event):
    result = {field: event[field] for field in FIELDS if field != "attendees"}
    result["attendees"] = [{"name": a["name"], "address": a["address"]}
                           for a in event["attendees"]]
    return result


def compare_file(program, path, problems):
    name = os.path.basename(path)
    ours = [reader_event(e) for e in dump(program, path)["events"]]
    if name in PYTHON_CANNOT_READ:
        expected = PYTHON_CANNOT_READ[name][1]
        if len(ours) != len(expected):
            problems.append("%s: %d events read, %d expected" % (
                name, len(ours), len(expected)))
            return
        for index, (mine, fields) in enumerate(zip(ours, expected)):
            for field, value in fields.items():
                if mine[field] != value:
                    problems.append("%s event %d %s: reader %r, expected %r"
                                    % (name, index, field, mine[field], value))
        return
    theirs = python_events(path)
    if len(ours) != len(theirs):
        problems.append("%s: %d events read, icalendar finds %d" % (
            name, len(ours), len(theirs)))
        return
    seen = set()
    for index, (mine, other) in enumerate(zip(ours, theirs)):
        for field in FIELDS:
            key = (name, index, field)
            if mine[field] == other[field]:
                continue
            seen.add(key)
            if key not in EXPECTED_DIFFERENCES:
                problems.append("%s event %d %s: reader %r, icalendar %r" % (
                    name, index, field, mine[field], other[field]))
    for key in EXPECTED_DIFFERENCES:
        if key[0] == name and key not in seen:
            problems.append("%s event %d %s: listed as differing, but equal"
                            % key)


def damaged_copies(data, rng):
    """Cut-off and byte-flipped versions of one file."""
    for cut in sorted({len(data) // 3, len(data) // 2, len(data) - 7}):
        if 0 < cut < len(data):
            yield data[:cut]
    for _ in range(4):
        flipped = bytearray(data)
        for _ in range(max(1, len(data) // 50)):
            flipped[rng.randrange(len(flipped))] = rng.randrange(256)
        yield bytes(flipped)


def check_damaged(program, path, problems, rng):
    with open(path, "rb") as f:
        data = f.read()
    with tempfile.TemporaryDirectory() as tmp:
        for n, copy in enumerate(damaged_copies(data, rng)):
            damaged = os.path.join(tmp, "damaged-%d.ics" % n)
            with open(damaged, "wb") as f:
                f.write(copy)
            try:
                dump(program, damaged)
            except (RuntimeError, ValueError) as e:
                problems.append("%s, damaged copy %d: %s" % (
                    os.path.basename(path), n, e))


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    program = sys.argv[1]
    directory = sys.argv[2] if len(sys.argv) == 3 else os.path.join(
        os.path.dirname(icalendar.__file__), "tests")
    paths = sorted(glob.glob(os.path.join(directory, "*.ics")))
    if not paths:
        sys.exit("no .ics files in %s" % directory)
    problems = []
    rng = random.Random(12)
    for path in paths:
        compare_file(program, path, problems)
        check_damaged(program, path, problems, rng)
    for problem in problems:
        print(problem)
    print("%d files compared, %d problems" % (len(paths), len(problems)))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
