#!/usr/bin/env python3
"""processes.py TOOL [--edits N] [--writers N...]: several processes edit one user, others read
beside them. What was acknowledged has to be there, whoever else wrote; a reader sees whole documents
only, with all that was acknowledged before it began. Prints a table; status 0 only if that holds."""

import argparse
import concurrent.futures
import json
import sys
import threading
import time
import xml.etree.ElementTree as ElementTree

sys.dont_write_bytecode = True

from users import LIVE, Tool, new_user, progress, scratch, table

OK, BUSY = 0, 5
READERS = 2
FIRST_LIST = 100  # the sample has none from here on
HEAD = ["processes", "edits", "acknowledged", "busy", "not there", "reads", "wrong reads",
        "longest edit"]


def stocks_in_file(path):
    """The stocks of each list, as market and code, read without the tool."""
    return {int(custom.get("type")): [stock.get("market") + stock.get("code") for stock in custom]
            for custom in ElementTree.parse(path).iter("Custom")}


def stocks_shown(text):
    """The same from the answer of 'show stocks --json'."""
    answer = json.loads(text)
    return {row["list"]: [stock["market"] + stock["code"] for stock in answer["stocks"]
                          if stock["list"] == row["list"]] for row in answer["lists"]}


class Crowd:
    """Writers with a list of stocks each, and readers, at one user."""

    def __init__(self, tool, directory, writers, edits):
        self.tool, self.directory, self.edits = tool, directory, edits
        self.acknowledged = {FIRST_LIST + i: [] for i in range(writers)}
        self.busy, self.reads, self.longest = 0, 0, 0.0
        self.failures, self.wrong, self.lock = [], [], threading.Lock()
        self.writing = threading.Event()
        self.before = stocks_in_file(f"{directory}/{LIVE}")

    def write(self, number):
        for i in range(self.edits):
            code = f"{600000 + i}"
            start = time.monotonic()
            done = self.tool(self.directory, "stock", "add", str(number), "SH", code)
            with self.lock:
                self.longest = max(self.longest, time.monotonic() - start)
                self.note(number, f"SH{code}", done)

    def note(self, number, code, done):
        if done.returncode == OK and "\nsaved " in done.stdout:
            self.acknowledged[number].append(code)
        elif done.returncode == BUSY and "busy: " in done.stderr:
            self.busy += 1
        else:
            self.failures.append(f"edit: status {done.returncode}: {done.stderr.strip()}")
        progress(f"{sum(map(len, self.acknowledged.values()))} edits")

    def read(self):
        while self.writing.is_set():
            with self.lock:
                least = {number: list(codes) for number, codes in self.acknowledged.items()}
            done = self.tool(self.directory, "show", "stocks", "--json")
            self.reads += 1
            fault = self.fault_of(done, least)
            if fault:
                self.wrong.append(f"read: {fault}")

    def fault_of(self, done, least):
        if done.returncode != OK:
            return f"status {done.returncode}: {done.stderr.strip()}"
        shown = stocks_shown(done.stdout)
        if any(shown.get(number, []) != codes for number, codes in self.before.items()):
            return f"another user: {shown}"
        missing = [number for number, codes in least.items()
                   if shown.get(number, [])[:len(codes)] != codes]
        return f"without what was acknowledged in {missing}" if missing else ""

    def run(self):
        self.writing.set()
        with concurrent.futures.ThreadPoolExecutor(len(self.acknowledged) + READERS) as pool:
            readers = [pool.submit(self.read) for _ in range(READERS)]
            writers = [pool.submit(self.write, number) for number in self.acknowledged]
            concurrent.futures.wait(writers)
            self.writing.clear()
        for job in writers + readers:
            job.result()

    def lost(self):
        """Codes that were acknowledged and are not in the file, or there unacknowledged."""
        there = stocks_in_file(f"{self.directory}/{LIVE}")
        return [f"list {number}, {code}: " + ("not acknowledged" if code in there.get(number, [])
                                              else "not there")
                for number, codes in self.acknowledged.items()
                for code in set(codes) ^ set(there.get(number, []))]


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("tool")
    parser.add_argument("--edits", type=int, default=200)
    parser.add_argument("--writers", type=int, nargs="+", default=[2, 8])
    given = parser.parse_args()
    rows, failures = [], []
    for writers in given.writers:
        with scratch() as directory:
            new_user(directory)
            crowd = Crowd(Tool(given.tool), directory, writers, given.edits)
            crowd.run()
            lost = crowd.lost()
            failures += crowd.failures + crowd.wrong + lost
            rows.append([writers, writers * given.edits,
                         sum(map(len, crowd.acknowledged.values())), crowd.busy, len(lost),
                         crowd.reads, len(crowd.wrong), f"{crowd.longest:.1f} s"])
    print(table(HEAD, rows))
    print("\n".join(failures[:20]), file=sys.stderr)
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
