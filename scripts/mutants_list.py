#!/usr/bin/env python3
"""Reads scripts/mutants.list and applies one of its faults to a copy of the tree.

  mutants_list.py records LIST [REGEX]          one TAB-separated line per fault:
                                                id, file, tests, flags, accepted, what
  mutants_list.py apply LIST ID ROOT BACKUP     writes the fault into ROOT/<file>, the original
                                                file to BACKUP; exit 3 and "STALE <id>: why"
                                                when the line is missing or not unique
  mutants_list.py check LIST ROOT [REGEX]       "STALE <id>: why" for every fault that no longer
                                                applies to ROOT; exit 3 if any

The list is blocks of "key: value" lines separated by blank lines; "#" starts a comment line.
Keys: id, file, line (the exact text of one line of file, compared with runs of white space
collapsed), after (optional: a unique line shortly before; then line is the first match within the
12 lines that follow it, for a line the file holds more than once), to (its replacement, indented like the line it replaces; may be empty), test (the
tests expected to kill it, tried first, separated by spaces), what, flags (optional: single),
accepted (optional: why a survivor is tolerated).
"""

import re
import sys

KEYS = ("id", "file", "line", "after", "to", "test", "what", "flags", "accepted")
REQUIRED = ("id", "file", "line", "to", "test", "what")


def fail(message):
    sys.stderr.write("mutants.list: " + message + "\n")
    sys.exit(2)


def parse(path):
    faults = []
    block = {}
    start = 0

    def close():
        if not block:
            return
        missing = [key for key in REQUIRED if key not in block]
        if missing:
            fail("line %d: fault without %s" % (start, ", ".join(missing)))
        if not re.fullmatch(r"[A-Za-z0-9][A-Za-z0-9_.-]*", block["id"]):
            fail("line %d: id %r must be letters, digits, '-', '_' or '.'" % (start, block["id"]))
        if any(fault["id"] == block["id"] for fault in faults):
            fail("line %d: id %s used twice" % (start, block["id"]))
        if not block["line"].strip():
            fail("line %d: %s: empty line to replace" % (start, block["id"]))
        if normalize(block["line"]) == normalize(block["to"]):
            fail("line %d: %s: replacement equals the line" % (start, block["id"]))
        for flag in block.get("flags", "").split():
            if flag not in ("single",):
                fail("line %d: %s: unknown flag %s" % (start, block["id"], flag))
        faults.append(dict(block))
        block.clear()

    with open(path, encoding="utf-8") as stream:
        for number, raw in enumerate(stream, 1):
            text = raw.rstrip("\n")
            if text.lstrip().startswith("#"):
                continue
            if not text.strip():
                close()
                continue
            match = re.match(r"([a-z]+):(?: (.*))?$", text)
            if not match or match.group(1) not in KEYS:
                fail("line %d: expected one of %s followed by ': '" % (number, ", ".join(KEYS)))
            key, value = match.group(1), match.group(2) or ""
            if key in block:
                fail("line %d: %s given twice in one fault" % (number, key))
            if not block:
                start = number
            block[key] = value
        close()
    return faults


AFTER_WINDOW = 12


def normalize(text):
    return " ".join(text.split())


def select(faults, pattern):
    if not pattern:
        return faults
    regex = re.compile(pattern)
    return [fault for fault in faults if regex.search(fault["id"])]


def locate(fault, root):
    """Returns (lines, index) of the fault's line in root, or raises LookupError with why."""
    path = root + "/" + fault["file"]
    try:
        with open(path, encoding="utf-8", newline="") as stream:
            lines = stream.read().split("\n")
    except OSError as error:
        raise LookupError("%s: %s" % (fault["file"], error.strerror))
    wanted = normalize(fault["line"])
    if fault.get("after", "").strip():
        anchor = normalize(fault["after"])
        anchors = [index for index, line in enumerate(lines) if normalize(line) == anchor]
        if len(anchors) != 1:
            raise LookupError("%s: anchor line found %d times: %s" % (
                fault["file"], len(anchors), fault["after"].strip()))
        window = range(anchors[0] + 1, min(len(lines), anchors[0] + 1 + AFTER_WINDOW))
        hits = [index for index in window if normalize(lines[index]) == wanted][:1]
        if not hits:
            raise LookupError("%s: line not found within %d lines after the anchor: %s" % (
                fault["file"], AFTER_WINDOW, fault["line"].strip()))
        return lines, hits[0]
    hits = [index for index, line in enumerate(lines) if normalize(line) == wanted]
    if not hits:
        raise LookupError("%s: line not found: %s" % (fault["file"], fault["line"].strip()))
    if len(hits) > 1:
        raise LookupError("%s: line found %d times (lines %s): %s" % (
            fault["file"], len(hits), ", ".join(str(h + 1) for h in hits), fault["line"].strip()))
    return lines, hits[0]


def main(argv):
    if len(argv) < 3:
        fail("usage: records LIST [REGEX] | apply LIST ID ROOT BACKUP | check LIST ROOT [REGEX]")
    command, faults = argv[1], parse(argv[2])
    if command == "records":
        for fault in select(faults, argv[3] if len(argv) > 3 else ""):
            print("\t".join([fault["id"], fault["file"], " ".join(fault["test"].split()),
                             fault.get("flags", "-") or "-", fault.get("accepted", "-") or "-",
                             fault["what"]]))
        return 0
    if command == "check":
        stale = 0
        for fault in select(faults, argv[4] if len(argv) > 4 else ""):
            try:
                locate(fault, argv[3])
            except LookupError as why:
                print("STALE %s: %s" % (fault["id"], why))
                stale += 1
        return 3 if stale else 0
    if command == "apply":
        fault_id, root, backup = argv[3], argv[4], argv[5]
        matching = [fault for fault in faults if fault["id"] == fault_id]
        if not matching:
            fail("no fault %s" % fault_id)
        fault = matching[0]
        try:
            lines, index = locate(fault, root)
        except LookupError as why:
            print("STALE %s: %s" % (fault_id, why))
            return 3
        original = "\n".join(lines)
        with open(backup, "w", encoding="utf-8", newline="") as stream:
            stream.write(original)
        line = lines[index]
        indent = line[: len(line) - len(line.lstrip())]
        lines[index] = indent + fault["to"].strip() if fault["to"].strip() else ""
        with open(root + "/" + fault["file"], "w", encoding="utf-8", newline="") as stream:
            stream.write("\n".join(lines))
        return 0
    fail("unknown command " + command)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv))
