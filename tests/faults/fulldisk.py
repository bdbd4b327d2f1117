#!/usr/bin/env python3
"""fulldisk.py TOOL [--step PAGES]: an edit, a restore and a recovery on a disk that has so many pages left, from none
on up to enough. Afterwards the file is a whole one, old or new; the status is 3 unless the new one
was acknowledged; the history has the state before, or nothing; and with some room there is a next
edit. Prints a table; status 0 only if that holds, 77 where no file system may be mounted."""

import argparse
import contextlib
import json
import os
import subprocess
import sys

sys.dont_write_bytecode = True

import crash
from users import LIVE, Tool, content, meaning, progress, scratch, table, write

PAGE = 4096
SIZE = 1 << 20
OK, REFUSED = 0, 3
SCENES = [scene for scene in crash.SCENES if scene.words is not None]


@contextlib.contextmanager
def small_disk():
    with scratch() as place:
        done = subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={SIZE}", "none", place],
                              capture_output=True, text=True)
        if done.returncode != 0:
            print(f"No file system may be mounted here, left out: {done.stderr.strip()}",
                  file=sys.stderr)
            sys.exit(77)
        try:
            yield place
        finally:
            subprocess.run(["umount", place], check=True)


def fill_up(place, pages):
    """Leaves so many pages."""
    info = os.statvfs(place)
    filler = os.path.join(place, "filler")
    write(filler, bytes(info.f_bavail * info.f_frsize - pages * PAGE))
    return filler


def history_fault(scene, tool, directory):
    """The state before each edit that the history tells of has to be there."""
    path = os.path.join(directory, "History", "log.jsonl")
    for line in (content(path) or b"").splitlines():
        before = json.loads(line)["before"]
        state = content(os.path.join(directory, "History", f"{before}.xml"))
        if state not in scene.before.values():
            return "the history is without the state before"
    return ""


def tried(scene, tool, pages):
    """The outcome of a level, and what is wrong with it."""
    with small_disk() as place:
        directory = os.path.join(place, "user")
        for path, data in scene.before.items():
            write(os.path.join(directory, path), data)
        filler = fill_up(place, pages)
        answer = tool(directory, *scene.words)
        live = content(os.path.join(directory, LIVE))
        os.remove(filler)
        fault = fault_of(scene, answer, live) or history_fault(scene, tool, directory)
        if not fault and tool(directory, "recover").returncode not in (0, 6):
            fault = "not recovered with some room"
        if not fault and tool(directory, *crash.SETTING).returncode != OK:
            fault = "no next edit"
        is_new = meaning(live) == meaning(scene.new)
        return answer.returncode, is_new, fault and f"{fault}: {answer.stdout}{answer.stderr}"


def fault_of(scene, answer, live):
    words = b"\n" + answer.stdout.encode()
    acknowledged = any(each in words for each in crash.ACKNOWLEDGED)
    found = meaning(live)
    if found != meaning(scene.new) and found != meaning(scene.before[LIVE]):
        return "lost"
    if answer.returncode not in (OK, REFUSED):
        return f"status {answer.returncode}"
    if acknowledged != (answer.returncode == OK):
        return "the status and the words differ"
    return "false claim" if acknowledged and found != meaning(scene.new) else ""


def row_of(scene, tool, step, faults):
    """Up to the level at which it succeeds, and on."""
    outcomes, pages = [], 0
    while sum(status == OK for status, _ in outcomes) < 2:
        assert pages * PAGE < SIZE // 2, f"{scene.name} never succeeds"
        progress(f"{scene.name} {pages}")
        status, is_new, fault = tried(scene, tool, pages)
        outcomes.append((status, is_new))
        if fault:
            faults.append(f"{scene.name}, {pages} pages: {fault}")
        pages += step
    count = lambda status, is_new: outcomes.count((status, is_new))
    return [scene.name, len(outcomes), count(REFUSED, False), count(REFUSED, True),
            count(OK, True)]


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("tool")
    parser.add_argument("--step", type=int, default=1)
    given, faults = parser.parse_args(), []
    rows = [row_of(scene, Tool(given.tool), given.step, faults) for scene in SCENES]
    print(table(["scene", "levels", "refused, old", "refused, new", "saved"], rows))
    print("\n".join(faults), file=sys.stderr)
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
