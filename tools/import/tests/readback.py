"""Imports files with virel-import and reads the written mailboxes back with
the project's own reader (virel_mailbox_dump): the road every comparison of
imported items against an independent decoding takes."""

import json
import os
import subprocess

# virel-import exits 1 when it rejected an item, 2 when an input was no
# mail at all (or on usage and I/O errors); its report tells them apart.
IMPORT_EXITS = (0, 1, 2)
UNRECOGNISED = ": not an mbox file, message, Maildir or calendar"
TIMEOUT = 600


class ReadBack:
    """One import of `inputs` into WORKDIR/<stem>.pst (and its follow-on
    files), every file read back. `items[source path]` lists, in input
    order, (import outcome, read-back item or None) for each item the
    import reports; `unrecognised` holds the inputs taken for no kind of
    mail; `problems` lists what else went wrong outside single items."""

    def __init__(self, import_exe, dump_exe, inputs, workdir, stem="import"):
        self.problems = []
        self.items = {}
        self.report = self.run_import(import_exe, inputs, os.path.join(workdir, stem + ".pst"))
        files = {f["path"]: f for f in self.report["files"]}
        by_nid = {}
        for written in self.read_back(dump_exe, sorted(files)):
            self.check_file(written, files[written["path"]])
            for item in written["items"]:
                by_nid[(written["path"], item["nid"])] = item
        for outcome in self.report["items"]:
            item = by_nid.get((outcome.get("file"), outcome.get("nid")))
            if outcome["status"] != "rejected" and item is None:
                self.problems.append("%s: written as NID %s of %s, which does not read back"
                                     % (outcome["source"]["path"], outcome.get("nid"),
                                        outcome.get("file")))
            self.items.setdefault(outcome["source"]["path"], []).append((outcome, item))

    def run_import(self, import_exe, inputs, out):
        """virel-import's JSON report; its errors sorted into unrecognised
        inputs and problems."""
        done = subprocess.run([import_exe, "-o", out, "--json"] + list(inputs),
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              timeout=TIMEOUT)
        try:
            report = json.loads(done.stdout)
        except ValueError:
            report = None
        if done.returncode not in IMPORT_EXITS or report is None:
            raise RuntimeError("virel-import exited with %d: %s" % (
                done.returncode, done.stderr.decode(errors="replace")))
        errors = report["errors"]
        self.unrecognised = [e[:-len(UNRECOGNISED)] for e in errors if e.endswith(UNRECOGNISED)]
        self.problems.extend("import error: %s" % e for e in errors if not e.endswith(UNRECOGNISED))
        if done.returncode == 2 and not errors:
            self.problems.append("virel-import exited with 2 but reports no error")
        return report

    def check_file(self, written, counts):
        """A written file reads back complete and holds what the import put in."""
        if written["status"] != "complete":
            self.problems.append("%s reads back %s" % (written["path"], written["status"]))
        held = [i["kind"] for i in written["items"]]
        if (held.count("message"), held.count("event")) != (counts["messages"], counts["events"]):
            self.problems.append("%s holds %d messages and %d events, the import wrote %d and %d"
                                 % (written["path"], held.count("message"), held.count("event"),
                                    counts["messages"], counts["events"]))

    @staticmethod
    def read_back(dump_exe, paths):
        if not paths:
            return []
        done = subprocess.run([dump_exe] + paths, check=True, stdout=subprocess.PIPE,
                              timeout=TIMEOUT)
        return json.loads(done.stdout)["files"]

    def written(self, path):
        """(import outcome, read-back item) of every item of one input, or
        (None, why not)."""
        entries = self.items.get(path, [])
        if not entries:
            return None, "the import reports no item from it"
        rejected = [o["reason"] for o, _ in entries if o["status"] == "rejected"]
        if rejected:
            return None, "rejected: %s" % "; ".join(rejected)
        if any(item is None for _, item in entries):
            return None, "written, but not found in the file"
        return entries, None
