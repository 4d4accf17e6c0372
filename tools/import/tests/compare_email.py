#!/usr/bin/env python3
"""Compares what virel-import makes of MIME messages with Python's email
package, over the messages that ship with Python's own test suite (or the
msg_*.txt files of --data-dir).

"Our side" is one JSON document per message:
  {"subject": str, "from": {"name", "address"}, "to"/"cc"/"bcc": [{"name", "address"}],
   "body_plain": str, "body_html": str, "time": int or null (optional),
   "attachments": [{"file_name", "data_base64"} or {"file_name", "sha256", "size"}]}
It comes from `--import EXE --mailbox-dump EXE` (every message imported
with virel-import into a mailbox file, then read back with the project's
own reader), from `--dump EXE` (run as `EXE MESSAGE`, JSON on stdout: what
the MIME reader alone makes of it) or from `--ours-dir DIR`
(DIR/<message name>.json written by anything else).

Both sides sort parts the same way: the first text/plain and text/html part
not marked as an attachment are the bodies, every other leaf part and every
attached message is an attachment, in document order. Everything else is
decoded independently. What the mailbox file keeps in its own way (moved
bodies, short values) is undone by the rules beside ours_from_item. Exit 0
when every message matches or differs only as EXPECTED_DIFFERENCES (and, after
an import, READ_BACK_DIFFERENCES and NOT_IMPORTED) say, 1 otherwise, 77 when
the messages are not installed.
"""

import argparse
import base64
import email
import email.policy
import glob
import hashlib
import json
import os
import re
import subprocess
import sys
import sysconfig
import tempfile

from readback import ReadBack

SKIP = 77
# Writes headers back as they were read, without refolding.
UNFOLDED = email.policy.compat32.clone(max_line_length=0)

# Per message, the fields expected to differ and why. A listed field that
# matches is reported too, so this table stays true.
EXPECTED_DIFFERENCES = {
    "msg_14.txt": {
        "body_plain": "Content-Type 'text' has no subtype: Python assumes text/plain, "
                      "GMime application/octet-stream, so the text is kept as an attachment",
        "attachments": "same as body_plain: the text is the one attachment",
    },
    "msg_15.txt": {
        "body_plain": "a nested multipart reuses its parent's boundary: GMime and Python "
                      "split the parts differently",
        "attachments": "same as body_plain",
    },
    "msg_35.txt": {
        "body_plain": "no blank line after the headers: GMime drops the line that is "
                      "neither header nor blank, Python takes it as the body",
    },
    "msg_38.txt": {
        "attachments": "a part's text holds its parents' boundary lines: GMime ends "
                       "the part at the first one, Python only at its own boundary",
    },
    "msg_39.txt": {
        "attachments": "nested multiparts reuse one boundary: GMime and Python split "
                       "the parts differently",
    },
    "msg_43.txt": {
        "from": "'MAILER DAEMON <>' has an empty address: GMime drops the mailbox, "
                "Python keeps '<>'",
    },
    "msg_47.txt": {
        "body_plain": "no blank line after a part's headers: GMime drops the line, "
                      "Python takes it as the part's text",
        "body_html": "same as body_plain",
        "time": "'00:01+0000' lacks the space before the zone: GMime reads 00:00, "
                "Python 00:01",
    },
}

# Further differences of the imported and read-back messages only.
READ_BACK_DIFFERENCES = {
    "msg_25.txt": {
        "body_plain": "the file starts with a 'From ' line, so virel-import reads it as "
                      "an mbox, where the blank line ending each message belongs to the "
                      "mbox framing: the body loses its last line break",
    },
}

# Files that are no message to virel-import, which recognises mail by its
# content; only the read-back comparison is affected. The import must
# report exactly these as unrecognised, so this table stays true.
NOT_IMPORTED = {
    "msg_19.txt": "a digest's text without a single header line: not taken "
                  "as a message (the MIME reader alone still reads it as a body)",
}


def normalise_text(text):
    return text.replace("\r\n", "\n")


def clean_file_name(name):
    """The plain name our side stores: no directory, no control characters."""
    base = re.split(r"[/\\]", name)[-1]
    base = "".join(c for c in base if ord(c) >= 0x20 and ord(c) != 0x7F)
    base = base.strip(" ")
    return "" if base in (".", "..") else base


def address_list(header):
    if header is None:
        return []
    return [{"name": a.display_name, "address": a.addr_spec} for a in header.addresses]


def all_addresses(msg, name):
    out = []
    for header in msg.get_all(name, []):
        out.extend(address_list(header))
    return out


def normalise_message_bytes(data):
    """An attached message, re-serialised, so that folding and line endings
    do not count as differences."""
    parsed = email.message_from_bytes(data.replace(b"\r\n", b"\n"),
                                      policy=email.policy.compat32)
    return parsed.as_bytes()


class PythonSide:
    """Decodes a message with Python's email package."""

    def __init__(self, raw):
        self.msg = email.message_from_bytes(raw, policy=email.policy.default)
        self.body_plain = ""
        self.body_html = ""
        self.attachments = []
        self.walk(self.msg)

    def walk(self, part):
        if part.get_content_type() in ("message/rfc822", "message/global"):
            payload = part.get_payload()
            inner = payload[0] if isinstance(payload, list) and payload else None
            data = inner.as_bytes(policy=email.policy.compat32) if inner is not None else b""
            self.add_attachment(part, data, is_message=True)
        elif part.get_content_maintype() == "multipart" and part.is_multipart():
            for sub in part.get_payload():
                self.walk(sub)
        elif part.get_content_maintype() == "multipart":
            # Boundary never found: the whole text is the payload.
            text = part.get_payload(decode=True) or b""
            if not self.body_plain:
                self.body_plain = decode_undeclared(text)
            else:
                self.add_attachment(part, text)
        elif part.is_multipart():
            # message/delivery-status, message/external-body...: the body as is.
            self.add_attachment(part, body_bytes(part))
        else:
            self.leaf(part)

    def leaf(self, part):
        slot = None
        if part.get_content_disposition() != "attachment":
            if part.get_content_type() == "text/plain":
                slot = "body_plain"
            elif part.get_content_type() == "text/html":
                slot = "body_html"
        if slot is None or getattr(self, slot):
            self.add_attachment(part, part.get_payload(decode=True) or b"")
        else:
            setattr(self, slot, part.get_content())

    def add_attachment(self, part, data, is_message=False):
        name = clean_file_name(part.get_filename() or "")
        self.attachments.append({"file_name": name, "data": data, "message": is_message})

    def summary(self):
        msg = self.msg
        senders = address_list(msg["from"])
        date = msg["date"]
        time = None
        if date is not None and getattr(date, "datetime", None) is not None \
                and date.datetime.tzinfo is not None:
            time = int(date.datetime.timestamp())
        return {
            "subject": str(msg["subject"] or ""),
            "from": senders[0] if senders else {"name": "", "address": ""},
            "to": all_addresses(msg, "to"),
            "cc": all_addresses(msg, "cc"),
            "bcc": all_addresses(msg, "bcc"),
            "time": time,
            "body_plain": normalise_text(self.body_plain),
            "body_html": normalise_text(self.body_html),
        }


def body_bytes(part):
    """What follows a part's headers, as Python writes the part out."""
    data = part.as_bytes(policy=UNFOLDED)
    return data.split(b"\n\n", 1)[1] if b"\n\n" in data else b""


def decode_undeclared(data):
    try:
        return data.decode("utf-8")
    except UnicodeDecodeError:
        return data.decode("cp1252", errors="replace")


def attachment_digest(entry):
    """(sha256, size) of one attachment on our side."""
    if "data_base64" in entry:
        data = base64.b64decode(entry["data_base64"])
        return hashlib.sha256(data).hexdigest(), len(data), data
    return entry["sha256"], entry["size"], None


def compare_attachments(ours, theirs):
    if len(ours) != len(theirs):
        return "%d attachments, Python %d" % (len(ours), len(theirs))
    for i, (mine, expected) in enumerate(zip(ours, theirs)):
        if expected["file_name"] and mine["file_name"] != expected["file_name"]:
            return "attachment %d named %r, Python %r" % (i, mine["file_name"],
                                                         expected["file_name"])
        if not expected["file_name"] and not mine["file_name"].startswith("attachment-"):
            return "attachment %d: generated name %r" % (i, mine["file_name"])
        digest, size, data = attachment_digest(mine)
        want = expected["data"]
        if expected["message"] and data is not None:
            same = normalise_message_bytes(data) == normalise_message_bytes(want)
        else:
            same = digest == hashlib.sha256(want).hexdigest() and size == len(want)
        if not same:
            return "attachment %d (%s): %d bytes differ from Python's %d" % (
                i, mine["file_name"], size, len(want))
    return None


def same_address(mine, theirs, raw):
    """Equal, or the name ours gives is the old-style comment
    "addr (Full Name)", which Python does not take as a display name."""
    if mine == theirs:
        return True
    return (mine["address"] == theirs["address"] and theirs["name"] == ""
            and ("(%s)" % mine["name"]).encode() in raw)


def same_addresses(mine, theirs, raw):
    if isinstance(theirs, dict):
        return mine is not None and same_address(mine, theirs, raw)
    return (mine is not None and len(mine) == len(theirs)
            and all(same_address(a, b, raw) for a, b in zip(mine, theirs)))


def compare(raw, ours):
    """{field: description} of every field where the two sides differ."""
    python = PythonSide(raw)
    theirs = python.summary()
    diffs = {}
    if ours.get("subject") != theirs["subject"]:
        diffs["subject"] = "%r, Python %r" % (ours.get("subject"), theirs["subject"])
    for field in ("from", "to", "cc", "bcc"):
        if not same_addresses(ours.get(field), theirs[field], raw):
            diffs[field] = "%r, Python %r" % (ours.get(field), theirs[field])
    if theirs["time"] is not None and ours.get("time", theirs["time"]) != theirs["time"]:
        diffs["time"] = "%r, Python %r" % (ours.get("time"), theirs["time"])
    for field in ("body_plain", "body_html"):
        mine = normalise_text(ours.get(field, ""))
        if mine != theirs[field]:
            diffs[field] = "%r, Python %r" % (mine[:120], theirs[field][:120])
    attachments = compare_attachments(ours.get("attachments", []), python.attachments)
    if attachments:
        diffs["attachments"] = attachments
    return diffs


def candidate_data_dirs():
    """Where Python installations keep their email test messages: this
    interpreter's own test package, then any other installed Python."""
    try:
        import test
        yield os.path.join(os.path.dirname(test.__file__), "test_email", "data")
    except ImportError:
        pass
    yield os.path.join(sysconfig.get_paths()["stdlib"], "test", "test_email", "data")
    for prefix in ("/usr/lib", "/usr/local/lib"):
        yield from sorted(glob.glob(os.path.join(prefix, "python3*", "test",
                                                 "test_email", "data")), reverse=True)


def find_data_dir(explicit):
    if explicit:
        return explicit if os.path.isdir(explicit) else None
    for path in candidate_data_dirs():
        if glob.glob(os.path.join(path, "msg_*.txt")):
            return path
    return None


def ours_from_dump(exe, path):
    out = subprocess.run([exe, path], check=True, stdout=subprocess.PIPE).stdout
    return json.loads(out)


def ours_from_dir(directory, path):
    with open(os.path.join(directory, os.path.basename(path) + ".json"), "rb") as f:
        return json.load(f)


# virel-import moves a body that would pass the message's one property heap
# page into an attachment after the message's own, the HTML body first.
MOVED_BODIES = (("body.txt", "body_plain"), ("body.html", "body_html"))
# Values of one to four bytes sit in the property record itself, so an
# HTML body (a binary) of one to three bytes reads back padded to four.
INLINE_SIZE = 4


def restore_moved_bodies(ours):
    attachments = ours["attachments"]
    for name, field in MOVED_BODIES:
        if attachments and attachments[-1]["file_name"] == name and not ours[field]:
            ours[field] = base64.b64decode(attachments.pop()["data_base64"]).decode("utf-8")


def ours_from_item(outcome, item):
    """Our side of one message as the mailbox file gives it back."""
    ours = {"subject": item["subject"], "from": item["sender"], "to": [], "cc": [], "bcc": [],
            "body_plain": item["body_plain"], "body_html": item["body_html"],
            "time": item["time"], "attachments": list(item["attachments"])}
    for r in item["recipients"]:
        if r["type"] not in ("to", "cc", "bcc"):
            raise LookupError("a recipient of type %s" % r["type"])
        ours[r["type"]].append({"name": r["name"], "address": r["address"]})
    if outcome["status"] == "written-with-moved-body":
        restore_moved_bodies(ours)
    html = ours["body_html"]
    if len(html) == INLINE_SIZE and html.rstrip("\0") != html:
        ours["body_html"] = html.rstrip("\0")
    return ours


class ReadBackSide:
    """Every message imported at once, then read back from the written files."""

    def __init__(self, import_exe, dump_exe, paths, workdir):
        self.run = ReadBack(import_exe, dump_exe, paths, workdir, "messages")

    def refused(self, path):
        return path in self.run.unrecognised

    def ours(self, path):
        entries, why = self.run.written(path)
        if entries is None:
            raise LookupError(why)
        if len(entries) != 1:
            raise LookupError("read as %d messages" % len(entries))
        return ours_from_item(*entries[0])


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    source = parser.add_mutually_exclusive_group(required=True)
    source.add_argument("--dump", help="program printing our side as JSON for a file")
    source.add_argument("--ours-dir", help="directory of <message>.json documents")
    source.add_argument("--import", dest="import_exe",
                        help="virel-import: compare what the written mailbox holds")
    parser.add_argument("--mailbox-dump", help="virel_mailbox_dump, with --import")
    parser.add_argument("--data-dir", help="directory of msg_*.txt (default: Python's)")
    args = parser.parse_args()

    data_dir = find_data_dir(args.data_dir)
    if data_dir is None:
        print("SKIP: Python's email test messages (test/test_email/data) are not "
              "installed; on Debian install libpython3.%d-testsuite" % sys.version_info.minor)
        return SKIP

    if args.import_exe and not args.mailbox_dump:
        parser.error("--import needs --mailbox-dump")
    paths = sorted(glob.glob(os.path.join(data_dir, "msg_*.txt")))
    with tempfile.TemporaryDirectory() as workdir:
        return compare_all(args, paths, workdir)


def compare_all(args, paths, workdir):
    failures = 0
    read_back = None
    if args.import_exe:
        read_back = ReadBackSide(args.import_exe, args.mailbox_dump, paths, workdir)
        for problem in read_back.run.problems:
            failures += 1
            print("FAIL %s" % problem)
    for path in paths:
        name = os.path.basename(path)
        with open(path, "rb") as f:
            raw = f.read()
        if read_back and name in NOT_IMPORTED:
            if read_back.refused(path):
                print("%s: not imported, as expected (%s)" % (name, NOT_IMPORTED[name]))
            else:
                failures += 1
                print("%s: FAIL listed as not imported, but virel-import takes it" % name)
            continue
        if read_back and read_back.refused(path):
            failures += 1
            print("%s: FAIL virel-import takes it for no kind of mail" % name)
            continue
        if read_back:
            try:
                ours = read_back.ours(path)
            except LookupError as e:
                failures += 1
                print("%s: FAIL %s" % (name, e))
                continue
        elif args.dump:
            ours = ours_from_dump(args.dump, path)
        else:
            ours = ours_from_dir(args.ours_dir, path)
        diffs = compare(raw, ours)
        expected = dict(EXPECTED_DIFFERENCES.get(name, {}))
        if read_back:
            expected.update(READ_BACK_DIFFERENCES.get(name, {}))
        for field, what in sorted(diffs.items()):
            if field in expected:
                print("%s: %s differs as expected (%s)" % (name, field, expected[field]))
            else:
                failures += 1
                print("%s: FAIL %s: %s" % (name, field, what))
        for field in sorted(set(expected) - set(diffs)):
            failures += 1
            print("%s: FAIL %s matches but is listed as an expected difference" % (name, field))
        if not diffs and not expected:
            print("%s: same" % name)
    print("%d unexpected result(s)" % failures)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
