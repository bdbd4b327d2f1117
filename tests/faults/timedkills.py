#!/usr/bin/env python3
"""timedkills.py TOOL SAVEDRIVER [--inside N] [--seed S]: a process that saves without end is killed
at an event of its user's directories, drawn by lot, until that has hit so many saves from the inside.
After each, what had been saved last, or what was being saved, is there or comes back by recover.
Prints one line and what the kills have left behind; status 0 only if nothing was lost."""

import argparse
import collections
import ctypes
import os
import random
import re
import select
import struct
import subprocess
import sys

sys.dont_write_bytecode = True

from users import LIVE, Tool, content, generation, meaning, progress, scratch, table, write

# See inotify(7).
IN_MODIFY, IN_CLOSE_WRITE, IN_MOVED_TO, IN_CREATE, IN_DELETE = 0x2, 0x8, 0x80, 0x100, 0x200
EVENTS = IN_MODIFY | IN_CLOSE_WRITE | IN_MOVED_TO | IN_CREATE | IN_DELETE
NAMES = {IN_MODIFY: "modified", IN_CLOSE_WRITE: "written", IN_MOVED_TO: "renamed",
         IN_CREATE: "created", IN_DELETE: "removed"}
FOLDERS = ("", "Temp", "Settings")
SAVES_BEFORE = 3  # at most, before the one that is hit
GENERATION = re.compile(rb'reportRefreshTime="([0-9]+)"')


class Watch:
    """The events of a user's directories, as they come: a folder, a name and what happened to it."""

    def __init__(self, directory):
        libc = ctypes.CDLL(None, use_errno=True)
        self.descriptor = libc.inotify_init1(os.O_CLOEXEC | os.O_NONBLOCK)
        self.folders = {}
        for folder in FOLDERS:
            path = os.path.join(directory, folder).encode()
            self.folders[libc.inotify_add_watch(self.descriptor, path, EVENTS)] = folder
        if self.descriptor < 0 or -1 in self.folders:
            raise OSError(ctypes.get_errno(), "inotify")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        os.close(self.descriptor)

    def events(self, seconds):
        """Those that are there; waits for the first of them."""
        if not select.select([self.descriptor], [], [], seconds)[0]:
            return
        data, at = os.read(self.descriptor, 1 << 16), 0
        while at < len(data):
            watch, mask, _, size = struct.unpack_from("iIII", data, at)
            name = data[at + 16:at + 16 + size].rstrip(b"\0").decode()
            at += 16 + size
            yield self.folders[watch], name, NAMES.get(mask & EVENTS, "")


def is_start(event):
    """A save stores the mirror first."""
    folder, name, what = event
    return folder == "Settings" and name.startswith(".new-") and what == "created"


def said_of(event):
    folder, name, what = event
    name = re.sub(r"(?<=\.new-).*|_\d{8}$", "", re.sub(r"^#\d+$", "copy without a name", name))
    return f"{folder}/{name} {what}".lstrip("/")


def killed(driver, directory, first, nth):
    """Lets saves run from a generation on and kills them at the nth event. The last one that had
    ended, whether another had begun, and the event."""
    with Watch(directory) as watch:
        process = subprocess.Popen([driver, directory, str(first), "0"], stdout=subprocess.PIPE,
                                   stderr=subprocess.DEVNULL)
        seen, starts, last = 0, 0, None
        while seen < nth and process.poll() is None:
            for event in watch.events(10):
                seen += 1
                starts += is_start(event)
                if seen == nth:
                    process.kill()
                    last = event
        out = process.communicate()[0]
        starts += sum(map(is_start, watch.events(0)))
    ended = out.count(b"\n")
    return first + ended - 1, starts > ended, last


def generation_of(path):
    """The generation that a file holds whole; 0 for none."""
    data = content(path)
    number = GENERATION.search(data or b"")
    return int(number[1]) if number and meaning(data) == meaning(generation(int(number[1]))) else 0


def leftovers(directory):
    return sum(name.startswith(".new-") for _, _, names in os.walk(directory) for name in names)


def prepared(directory):
    """Generation 1, and the folders of a save."""
    for folder in FOLDERS:
        os.makedirs(os.path.join(directory, folder), exist_ok=True)
    write(os.path.join(directory, LIVE), generation(1))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("tool")
    parser.add_argument("driver")
    parser.add_argument("--inside", type=int, default=3000)
    parser.add_argument("--seed", type=int, default=1)
    given = parser.parse_args()
    lot, tool = random.Random(given.seed), Tool(given.tool)
    kills, inside, lost, at = 0, 0, [], collections.Counter()
    with scratch() as directory:
        prepared(directory)
        live, ended = os.path.join(directory, LIVE), 1
        with Watch(directory) as watch:
            subprocess.run([given.driver, directory, "1", "1"], check=True, capture_output=True)
            a_save = len(list(watch.events(1)))
        while inside < given.inside:
            ended, hit, event = killed(given.driver, directory, ended + 1,
                                       lot.randint(1, a_save * SAVES_BEFORE))
            kills += 1
            inside += hit
            at[said_of(event)] += hit
            progress(f"{inside} kills inside a save")
            before = generation_of(live)
            answer = tool(directory, "recover")
            after = generation_of(live)
            if after < ended or after > ended + 1 or before not in (0, after):
                lost.append(f"kill {kills}, at {event}: generation {before}, then {after} instead "
                            f"of {ended}: {answer.stdout}{answer.stderr}")
                prepared(directory)
                after = 1
            ended = after
        left = leftovers(directory)
    print(f"Timed kills: {kills} runs, {inside} of them inside a save, {len(lost)} lost, "
          f"{left} leftovers\n")
    print(table(["killed at", "inside a save"], [each for each in sorted(at.items()) if each[1]]))
    print("\n".join(lost[:20]), file=sys.stderr)
    sys.exit(1 if lost else 0)


if __name__ == "__main__":
    main()
