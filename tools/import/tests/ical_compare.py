#!/usr/bin/env python3
"""Compares imported calendars with the Python icalendar package.

Usage: ical_compare.py DUMP_PROGRAM [ICS_DIR]
       ical_compare.py --import VIREL_IMPORT --mailbox-dump MAILBOX_DUMP [ICS_DIR]

For every .ics file in ICS_DIR (default: the calendars that ship with the
icalendar package's tests) the events are compared one by one with an
independent decoding: summary, location, description, start and end in
UTC, all-day, busy status, organizer and attendees. The first form takes
what the importer's iCalendar reader alone makes of a file (the dump
program's JSON); the second imports every file with virel-import and reads
the written mailbox back with the project's reader, which compares the
fields the file carries (NOT_IN_FILE names the others and why). A field may
differ only where EXPECTED_DIFFERENCES names it with the reason; an entry
there that no longer differs is reported too. Every file is also fed
truncated and with flipped bytes: the dump program must still exit cleanly
with JSON, and virel-import must still write only complete mailboxes.
"""

import argparse
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

from readback import ReadBack

SKIP = 77

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
          "busy_status", "organizer", "attendees")

# Event fields that the mailbox file does not hold, so the read-back
# comparison cannot see them; the reader's own comparison covers them.
NOT_IN_FILE = {
    "all_day": "an appointment holds no all-day flag: an all-day event reads "
               "back as one from midnight to midnight UTC",
    "attendees": "the writer keeps attendees in its event record but writes no "
                 "recipient table for an appointment",
    "recurrence": "the writer keeps daily and weekly rules in its event record "
                  "but writes no recurrence data",
}
READ_BACK_FIELDS = tuple(f for f in FIELDS if f not in NOT_IN_FILE)

# Busy status as the importer sets it: 0 free, 1 tentative, 2 busy, 3 out
# of office, from Outlook's own property first.
BUSY_NAMES = {"FREE": 0, "TENTATIVE": 1, "BUSY": 2, "OOF": 3}
BUSY_PROPERTIES = ("X-MICROSOFT-CDO-BUSYSTATUS", "X-MICROSOFT-CDO-INTENDEDSTATUS")
TRANSPARENT = ("TRANSPARENT", "TRANSPARENT-NOCONFLICT")


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


def busy_status(event):
    for name in BUSY_PROPERTIES:
        value = text(event, name).upper()
        if value in BUSY_NAMES:
            return BUSY_NAMES[value]
    if text(event, "TRANSP").upper() in TRANSPARENT:
        return BUSY_NAMES["FREE"]
    if text(event, "STATUS").upper() == "TENTATIVE":
        return BUSY_NAMES["TENTATIVE"]
    return BUSY_NAMES["BUSY"]


def python_event(event):
    start = decoded(event, "DTSTART")
    result = {
        "summary": text(event, "SUMMARY"),
        "location": text(event, "LOCATION"),
        "description": text(event, "DESCRIPTION"),
        "start": 0, "end": 0, "all_day": False,
        "busy_status": busy_status(event),
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


def read_back_event(item):
    """The fields of one appointment as the mailbox file gives them back."""
    return {"summary": item["subject"], "location": item["location"],
            "description": item["body_plain"], "start": item["start"],
            "end": item["end"], "busy_status": item["busy_status"],
            "organizer": item["sender"]}


class DumpSide:
    """What the importer's iCalendar reader alone makes of each file."""
    fields = FIELDS

    def __init__(self, program):
        self.program = program

    def events(self, path):
        return [reader_event(e) for e in dump(self.program, path)["events"]]

    def check_damaged(self, copies, problems):
        for name, damaged in copies:
            try:
                dump(self.program, damaged)
            except (RuntimeError, ValueError) as e:
                problems.append("%s: %s" % (name, e))


class ReadBackSide:
    """Every file imported with virel-import at once, then read back."""
    fields = READ_BACK_FIELDS

    def __init__(self, import_exe, dump_exe, paths, workdir, problems):
        self.import_exe = import_exe
        self.dump_exe = dump_exe
        self.workdir = workdir
        self.run = ReadBack(import_exe, dump_exe, paths, workdir, "calendars")
        problems.extend(self.run.problems)
        problems.extend("%s: taken for no kind of mail" % p for p in self.run.unrecognised)

    def events(self, path):
        entries = sorted(self.run.items.get(path, []),
                         key=lambda entry: entry[0]["source"].get("index", 0))
        for outcome, item in entries:
            if outcome["kind"] != "event" or item is None:
                raise LookupError("item %s: %s, %s" % (
                    outcome["source"].get("index"), outcome["kind"],
                    outcome.get("reason", "not found in the file")))
        return [read_back_event(item) for _, item in entries]

    def check_damaged(self, copies, problems):
        """One import of every damaged copy: whatever it writes must read
        back complete, with every written event in place."""
        run = ReadBack(self.import_exe, self.dump_exe, [d for _, d in copies],
                       self.workdir, "damaged")
        problems.extend("damaged copies: %s" % p for p in run.problems)


def compare_known(name, ours, problems):
    """A file the icalendar package cannot decode, against the values
    worked out by hand."""
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


def compare_file(side, path, problems):
    """Compares one file's events; returns how many it compared."""
    name = os.path.basename(path)
    try:
        ours = side.events(path)
    except LookupError as e:
        problems.append("%s: %s" % (name, e))
        return 0
    if name in PYTHON_CANNOT_READ:
        compare_known(name, ours, problems)
        return len(ours)
    theirs = python_events(path)
    if len(ours) != len(theirs):
        problems.append("%s: %d events read, icalendar finds %d" % (
            name, len(ours), len(theirs)))
        return 0
    seen = set()
    for index, (mine, other) in enumerate(zip(ours, theirs)):
        for field in side.fields:
            key = (name, index, field)
            if mine[field] == other[field]:
                continue
            seen.add(key)
            if key not in EXPECTED_DIFFERENCES:
                problems.append("%s event %d %s: reader %r, icalendar %r" % (
                    name, index, field, mine[field], other[field]))
    for key in EXPECTED_DIFFERENCES:
        if key[0] == name and key[2] in side.fields and key not in seen:
            problems.append("%s event %d %s: listed as differing, but equal"
                            % key)
    return len(ours)


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


def write_damaged(paths, directory, rng):
    """(label, path) of every damaged copy of every file."""
    copies = []
    for path in paths:
        with open(path, "rb") as f:
            data = f.read()
        for n, copy in enumerate(damaged_copies(data, rng)):
            damaged = os.path.join(directory, "%s-damaged-%d.ics" % (
                os.path.splitext(os.path.basename(path))[0], n))
            with open(damaged, "wb") as f:
                f.write(copy)
            copies.append(("%s, damaged copy %d" % (os.path.basename(path), n), damaged))
    return copies


def main():
    parser = argparse.ArgumentParser(usage=__doc__.split("\n\n")[1])
    parser.add_argument("--import", dest="import_exe")
    parser.add_argument("--mailbox-dump")
    parser.add_argument("args", nargs="*")
    args = parser.parse_args()
    wanted = 1 if args.import_exe else 2
    if len(args.args) not in (wanted - 1, wanted) or bool(args.import_exe) != bool(args.mailbox_dump):
        parser.error("give DUMP_PROGRAM, or --import and --mailbox-dump")
    explicit = len(args.args) == wanted
    directory = args.args[wanted - 1] if explicit else os.path.join(
        os.path.dirname(icalendar.__file__), "tests")
    paths = sorted(glob.glob(os.path.join(directory, "*.ics")))
    if not paths and not explicit:
        print("SKIP: the icalendar package ships no test calendars in %s" % directory)
        return SKIP
    if not paths:
        sys.exit("no .ics files in %s" % directory)
    problems = []
    with tempfile.TemporaryDirectory() as workdir:
        if args.import_exe:
            side = ReadBackSide(args.import_exe, args.mailbox_dump, paths, workdir, problems)
            for field, why in sorted(NOT_IN_FILE.items()):
                print("not compared after import: %s (%s)" % (field, why))
        else:
            side = DumpSide(args.args[0])
        events = sum(compare_file(side, path, problems) for path in paths)
        damaged = os.path.join(workdir, "damaged")
        os.mkdir(damaged)
        side.check_damaged(write_damaged(paths, damaged, random.Random(12)), problems)
    for problem in problems:
        print(problem)
    print("%d files, %d events compared, %d problems" % (len(paths), events, len(problems)))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
