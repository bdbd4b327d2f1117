#!/usr/bin/env python3
"""crash.py TOOL SAVEDRIVER [--most N] [--only NAME]: the power is cut after every call of a save, an
edit, a recovery and their like. Every state that a file system may leave of it (see disk.py) is laid
out, and the tool recovers it as a person would. Then the file has to be a whole one: the new one if
that was acknowledged, else the new or the old one; and a further edit has to work. Prints a table;
status 0 only if that holds of all. With --most, of so many states a scene, drawn by a fixed lot."""

import argparse
import collections
import concurrent.futures
import datetime
import os
import random
import shutil
import sys
import time

sys.dont_write_bytecode = True

import disk
from users import LIVE, Tool, content, generation, meaning, progress, scratch, table, write

OLD, NEW = generation(1), generation(2)
DAMAGED = b"<ICUserConfigFile><damaged"
TODAY = datetime.date.today()
DATED = f"Temp/{LIVE}_{TODAY:%Y%m%d}"
EARLIER = f"Temp/{LIVE}_{TODAY - datetime.timedelta(7):%Y%m%d}"
SETTING = ("option", "set", "reportRefreshTime=2")

# What is there, the words of the tool (None: a save by the library alone), what was the file, what
# is it to become.
Scene = collections.namedtuple("Scene", "name before words old new")
SCENES = [
    Scene("save", {LIVE: OLD, DATED: OLD}, None, OLD, NEW),
    Scene("first save", {LIVE: OLD}, None, OLD, NEW),
    Scene("edit", {LIVE: OLD, DATED: OLD}, SETTING, OLD, NEW),
    Scene("first edit", {LIVE: OLD}, SETTING, OLD, NEW),
    Scene("edit on a new day", {LIVE: OLD, EARLIER: OLD}, SETTING, OLD, NEW),
    Scene("recovery", {LIVE: DAMAGED, DATED: OLD}, ("recover",), OLD, OLD),
    Scene("restore", {LIVE: OLD, EARLIER: NEW},
          ("snapshot", "restore", f"{TODAY - datetime.timedelta(7)}"), OLD, NEW),
]
ACKNOWLEDGED = (b"\nsaved ", b"brought back ")


def command_of(scene, tool, driver, directory):
    return [driver, directory, "2", "1"] if scene.words is None \
        else tool.command(directory, *scene.words)


def is_acknowledged(scene, events):
    said = b"".join(event.text for event in events if isinstance(event, disk.Said))
    return said.startswith(b"2\n") if scene.words is None \
        else any(each in b"\n" + said for each in ACKNOWLEDGED)


def cuts(scene, tool, driver):
    """Each state that a cut may leave, once, and whether the new file was acknowledged by then."""
    with scratch() as place:
        directory = os.path.join(place, "user")
        for path, data in scene.before.items():
            write(os.path.join(directory, path), data)
        recorder = disk.Recorder(directory)
        base = disk.entries_of(recorder.root)
        events = recorder.follow(disk.traced(command_of(scene, tool, driver, directory), place))
        assert meaning(content(os.path.join(directory, LIVE))) == meaning(scene.new)
    assert is_acknowledged(scene, events), events
    found = {}
    for kind in disk.KINDS:
        for count in range(len(events) + 1):
            done = events[:count]
            acknowledged = is_acknowledged(scene, done)
            for state in disk.states(base, done, kind):
                key = (tuple(sorted(state.items())), acknowledged)
                found.setdefault(key, kind)
    return [(dict(state), acknowledged, kind) for (state, acknowledged), kind in found.items()]


def lay_out(state, directory):
    now = time.time() - 3600
    for path, held in state.items():
        full = os.path.join(directory, path)
        if held is None:
            os.makedirs(full, exist_ok=True)
        else:
            data, age = held
            write(full, data)
            # What was there before is a day old; the writes came one after another.
            when = now - 86400 if age < 0 else now + age / 100
            os.utime(full, (when, when))


def recovered(tool, directory):
    """As a person does who reads what the tool says."""
    answer = tool(directory, "recover")
    if "recover --newest" in answer.stdout:
        answer = tool(directory, "recover", "--newest")
    return answer


def fault_of(scene, cut, tool):
    """What is wrong with a state; nothing when all is well."""
    state, acknowledged, _ = cut
    with scratch() as directory:
        lay_out(state, directory)
        at_once = meaning(content(os.path.join(directory, LIVE)))
        answer = recovered(tool, directory)
        found = meaning(content(os.path.join(directory, LIVE)))
        if found not in (meaning(scene.old), meaning(scene.new)):
            return f"lost: {answer.stdout}{answer.stderr}"
        # What the tool calls saved needs no recovery; the library alone promises the copy only.
        kept = found if scene.words is None else at_once
        if acknowledged and kept != meaning(scene.new):
            return "acknowledged but old"
        if scene.before[LIVE] == DAMAGED and not is_kept(directory):
            return "lost: the damaged file"
        later = tool(directory, "option", "set", "reportRefreshTime=3")
        return f"no edit any more: {later.stderr}" if later.returncode != 0 else ""


def is_kept(directory):
    return any(content(os.path.join(folder, name)) == DAMAGED
               for folder, _, names in os.walk(directory) for name in names)


def judged(scene, tool, driver, most):
    """A row of the table, and the faults."""
    every = cuts(scene, tool, driver)
    chosen = every if most is None or len(every) <= most else random.Random(1).sample(every, most)
    faults, kinds = [], collections.Counter()
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        jobs = {pool.submit(fault_of, scene, cut, tool): cut for cut in chosen}
        for done, job in enumerate(concurrent.futures.as_completed(jobs), 1):
            progress(f"{scene.name} {done}/{len(chosen)}")
            if job.result():
                _, acknowledged, kind = jobs[job]
                kinds[job.result().split(":")[0]] += 1
                faults.append(f"{scene.name}, {kind}, {job.result()}\n"
                              f"    {told(jobs[job][0])}, acknowledged: {acknowledged}")
    row = [scene.name, len(every), len(chosen), kinds["lost"], kinds["acknowledged but old"],
           kinds["no edit any more"]]
    return row, faults


def told(state):
    return ", ".join(f"{path} ({'directory' if held is None else len(held[0])})"
                     for path, held in state.items())


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("tool")
    parser.add_argument("driver")
    parser.add_argument("--most", type=int)
    parser.add_argument("--only")
    given = parser.parse_args()
    rows, faults = [], []
    for scene in SCENES:
        if given.only in (None, scene.name):
            row, found = judged(scene, Tool(given.tool), given.driver, given.most)
            rows.append(row)
            faults += found
    print(table(["scene", "states", "looked at", "lost", "acknowledged but old",
                 "no edit any more"], rows))
    print("\n".join(faults[:20]), file=sys.stderr)
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
