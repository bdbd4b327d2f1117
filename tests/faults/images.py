#!/usr/bin/env python3
"""images.py TOOL [--cuts N]: edits on real file systems, each in an image whose bytes are copied as
soon as the tool has said "saved", as if the power were cut then. The copy is mounted, which replays
its journal, and recovered as a person would. Prints a table; status 0 only if no edit was reverted.
A file system that cannot be made or mounted here is left out with a line; 77 if all are."""

import argparse
import contextlib
import os
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True

from crash import DATED, NEW, OLD, SETTING, recovered
from users import LIVE, Tool, content, meaning, progress, table, write

FILE_SYSTEMS = {"ext4": (["mkfs.ext4", "-q"], 64), "ext3": (["mkfs.ext3", "-q"], 64),
                "xfs": (["mkfs.xfs", "-q"], 320), "btrfs": (["mkfs.btrfs", "-q"], 128)}


class LeftOut(Exception):
    pass


def run(*command):
    try:
        done = subprocess.run(command, capture_output=True, text=True)
    except FileNotFoundError as error:
        raise LeftOut(f"{command[0]} is not here") from error
    if done.returncode != 0:
        raise LeftOut(f"{' '.join(command)}: {done.stderr.strip()}")


@contextlib.contextmanager
def mounted(image, place):
    os.makedirs(place, exist_ok=True)
    run("mount", "-o", "loop", image, place)
    try:
        yield os.path.join(place, "user")
    finally:
        subprocess.run(["umount", place], check=True)


def cut_after_edit(tool, make, work):
    """An image as it was when an edit had just been acknowledged."""
    image, copy = os.path.join(work, "image"), os.path.join(work, "copy")
    command, megabytes = make
    with open(image, "wb") as file:
        file.truncate(megabytes << 20)
    run(*command, image)
    with mounted(image, os.path.join(work, "mount")) as directory:
        write(os.path.join(directory, LIVE), OLD)
        write(os.path.join(directory, DATED), OLD)
        os.sync()
        answer = tool(directory, *SETTING)
        run("cp", "--sparse=always", image, copy)
    assert answer.returncode == 0, answer.stderr
    os.remove(image)
    return copy


def fault_of(tool, make):
    """What has become of one edit; nothing when it is there."""
    with tempfile.TemporaryDirectory(prefix="image-") as work:
        copy = cut_after_edit(tool, make, work)
        with mounted(copy, os.path.join(work, "mount")) as directory:
            before = meaning(content(os.path.join(directory, LIVE)))
            answer = recovered(tool, directory)
            found = meaning(content(os.path.join(directory, LIVE)))
    if found != meaning(NEW):
        return f"{'reverted' if found == meaning(OLD) else 'lost'}: {answer.stdout}{answer.stderr}"
    return "" if before == found else "brought back by recover only"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("tool")
    parser.add_argument("--cuts", type=int, default=40)
    given = parser.parse_args()
    rows, faults = [], []
    for name, make in FILE_SYSTEMS.items():
        try:
            found = []
            for i in range(given.cuts):
                progress(f"{name} {i + 1}/{given.cuts}")
                found.append(fault_of(Tool(given.tool), make))
        except LeftOut as reason:
            print(f"{name} left out: {reason}", file=sys.stderr)
            continue
        rows.append([name, given.cuts, sum(map(bool, found))])
        faults += [f"{name}: {each}" for each in found if each]
    print(table(["file system", "cuts behind \"saved\"", "not there"], rows))
    print("\n".join(faults), file=sys.stderr)
    sys.exit(1 if faults else 0 if rows else 77)


if __name__ == "__main__":
    main()
