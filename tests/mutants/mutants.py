#!/usr/bin/env python3
"""mutants.py PLACE [--count N] [--seed S] [--only TEXT] [--copies N]: faults by rule in the sources, each built
and run against the tests; prints the page. Works in PLACE and goes on there where it was broken
off. --only tries no others than those whose 'file:line rule' holds TEXT, and prints no page."""

import argparse
import collections
import concurrent.futures
import hashlib
import json
import os
import queue
import sys
import threading

sys.dont_write_bytecode = True

import page
import rules
from workshop import (Failure, NOT_COMPILED, NOTICED, SURVIVED, Workshop, checked, content,
                      files_of)

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "../.."))
PARTS = {"format": "src/indexmodel/format/", "library": "src/indexmodel/indexuser/",
         "inspect": "src/indexmodel/inspect/", "mend": "src/indexmodel/mend/",
         "standalone": "src/indexmodel/standalone/", "tool": "src/indexuserctl/"}
# A source that all programs hold.
EVERYWHERE = "src/indexmodel/format/xmlelements.cpp"


def digest(*parts):
    return hashlib.sha256("\0".join(parts).encode()).hexdigest()[:16]


def digests():
    """Of every file of the tree."""
    return {name: hashlib.sha256(content(os.path.join(ROOT, name))).hexdigest()
            for name in files_of(ROOT)}


def program_of(verdict_by):
    return verdict_by.split(":")[0].split(" ")[0]


def name_of(mutant):
    return f"{mutant.file}:{mutant.line} {mutant.rule}"


def faults():
    """All there are: the part, and the fault."""
    for part, folder in PARTS.items():
        for file in (name for name in files_of(ROOT)
                     if name.startswith(folder) and name.endswith(".cpp")):
            for mutant in rules.mutants(file, content(os.path.join(ROOT, file)).decode()):
                yield part, mutant


def drawn(seed, all_faults):
    """Them in the order in which they are taken: the parts in turn, in each the rules in turn; one
    for a line. A lot hangs on the line's text: other lines do not change it."""
    piles = {part: collections.defaultdict(list) for part in PARTS}
    for part, mutant in all_faults:
        lot = digest(seed, mutant.file, mutant.rule, mutant.before, mutant.after)
        piles[part][mutant.rule].append((lot, mutant))
    return in_turn([one_for_a_line(in_turn([sorted(pile) for _, pile in sorted(of_rules.items())]))
                    for of_rules in piles.values()])


def one_for_a_line(lots):
    taken = set()
    for _, mutant in lots:
        if (mutant.file, mutant.line) not in taken:
            taken.add((mutant.file, mutant.line))
            yield mutant


def in_turn(lists):
    running = [iter(each) for each in lists]
    while running:
        for each in list(running):
            try:
                yield next(each)
            except StopIteration:
                running.remove(each)


class Record:
    """What is known of each fault. It holds as long as the sources are the same; a verdict of a test
    as long as that test is, a survival as long as all are."""

    def __init__(self, path, seed):
        # As they are now: who edits a test while this runs has it run the next time.
        self.files = digests()
        self.head = {"seed": seed, "sources": self.digest_of(
            "src/", "cmake/", "CMakeLists.txt", "tests/mutants/rules.py")}
        self.all_tests = self.digest_of("tests/", but="tests/mutants/")
        self.path, self.lock, self.known = path, threading.Lock(), {}
        self.read()

    def read(self):
        lines = []
        if os.path.exists(self.path):
            lines = [json.loads(line) for line in content(self.path).decode().splitlines()
                     if line.endswith("}")]
        if lines and lines[0] != self.head:
            print("The sources or the seed are others than before: from the beginning",
                  file=sys.stderr)
        if not lines or lines[0] != self.head:
            lines = [self.head]
        # Written anew: what was broken off may have left half a line.
        with open(self.path, "w", encoding="utf-8") as out:
            out.writelines(json.dumps(line) + "\n" for line in lines)
        self.known = {line["name"] + line["after"]: line for line in lines[1:]}

    def digest_of(self, *starts, but="\0"):
        return digest(*[name + "\n" + self.files[name] for name in sorted(self.files)
                        if name.startswith(starts) and not name.startswith(but)])

    def basis(self, outcome, by):
        own = self.files.get(f"tests/{program_of(by)}.cpp")
        return own if outcome == NOTICED and own else self.all_tests

    def of(self, mutant):
        line = self.known.get(name_of(mutant) + mutant.after)
        if line is None or line["outcome"] == NOT_COMPILED:
            return line
        return line if line["basis"] == self.basis(line["outcome"], line["by"]) else None

    def add(self, mutant, verdict):
        line = {"name": name_of(mutant), "file": mutant.file, "rule": mutant.rule,
                "before": mutant.before, "after": mutant.after, "outcome": verdict.outcome,
                "by": verdict.by, "basis": self.basis(verdict.outcome, verdict.by)}
        with self.lock, open(self.path, "a", encoding="utf-8") as out:
            print(json.dumps(line), file=out, flush=True)
            self.known[line["name"] + line["after"]] = line


class Factory:
    """The working copies, and what they know in common: how long tests take, and which
    of them have noticed faults of a file."""

    def __init__(self, place, copies):
        cores = max(1, os.cpu_count() // copies)
        self.shops = [Workshop(ROOT, os.path.join(place, str(i + 1)), cores)
                      for i in range(copies)]
        self.usual, self.noticed = {}, collections.Counter()
        self.stopped = threading.Event()

    def set_up(self):
        with concurrent.futures.ThreadPoolExecutor() as pool:
            list(pool.map(Workshop.set_up, self.shops))
        self.try_out()

    def try_out(self):
        """A comment is noticed by none, and that run tells the usual times; an abort by the first;
        nonsense does not compile."""
        text = content(os.path.join(ROOT, EVERYWHERE)).decode()
        for added, outcome in (("// nothing\n", SURVIVED), ("#error\n", NOT_COMPILED),
                               ("static const int s_n = (__builtin_abort(), 0);\n", NOTICED)):
            planted = rules.Mutant(EVERYWHERE, 0, "", "", "", 0, 0, text + added)
            verdict = self.shops[0].judge(planted, self.order(EVERYWHERE), self.usual)
            if verdict.outcome != outcome:
                raise Failure(f"'{added.strip()}' should be {outcome}, but: {verdict.outcome} "
                              f"{verdict.by}")
            self.usual = self.usual or verdict.times

    def order(self, file):
        return lambda test: (-self.noticed[file, test.name], self.usual.get(test.name, 0))

    def run(self, mutants, record, progress):
        groups = collections.defaultdict(list)
        for mutant in mutants:
            groups[mutant.file].append(mutant)
        waiting = queue.SimpleQueue()
        for group in sorted(groups.values(), key=len, reverse=True):
            waiting.put(group)
        self.stopped.clear()
        with concurrent.futures.ThreadPoolExecutor() as pool:
            jobs = [pool.submit(self.work, shop, waiting, record, progress)
                    for shop in self.shops]
            try:
                concurrent.futures.wait(jobs, return_when=concurrent.futures.FIRST_EXCEPTION)
            finally:
                # Whoever breaks this off does not wait for all faults, and none of them is known.
                self.stopped.set()
        for job in jobs:
            job.result()

    def work(self, shop, waiting, record, progress):
        while True:
            try:
                group = waiting.get_nowait()
            except queue.Empty:
                return
            for mutant in group:
                if self.stopped.is_set():
                    return
                verdict = shop.judge(mutant, self.order(mutant.file), self.usual)
                self.noticed[mutant.file, program_of(verdict.by)] += 1
                record.add(mutant, verdict)
                progress(mutant, verdict)


class Progress:
    def __init__(self, total):
        self.total, self.done = total, 0

    def __call__(self, mutant, verdict):
        self.done += 1
        print(f"{self.done}/{self.total} {name_of(mutant)}: {verdict.outcome} {verdict.by}"
              f" ({sum(verdict.times.values()):.1f} s)", file=sys.stderr)
        if verdict.outcome == SURVIVED:
            print(f"  - {mutant.before}\n  + {mutant.after}", file=sys.stderr, flush=True)


def results_of(mutants, count, factory, record):
    """The first faults that compile; for each that does not, another is drawn."""
    ready, chosen = False, mutants[:count]
    while True:
        missing = [mutant for mutant in chosen if record.of(mutant) is None]
        if not missing:
            counted = [record.of(m) for m in chosen if record.of(m)["outcome"] != NOT_COMPILED]
            more = mutants[len(chosen):len(chosen) + count - len(counted)]
            if not more:
                return counted
            chosen += more
            continue
        if not ready:
            factory.set_up()
            ready = True
        factory.run(missing, record, Progress(len(missing)))


def arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("place")
    parser.add_argument("--count", type=int, default=200)
    parser.add_argument("--seed", default="1")
    parser.add_argument("--only")
    parser.add_argument("--copies", type=int, default=os.cpu_count())
    return parser.parse_args()


def main():
    given = arguments()
    given.place = os.path.realpath(given.place)
    os.makedirs(given.place, exist_ok=True)
    record = Record(os.path.join(given.place, "results"), given.seed)
    all_faults = list(faults())
    mistakes = page.mistakes(page.reasons(), [mutant for _, mutant in all_faults],
                             os.path.join(ROOT, "tests"))
    if mistakes:
        sys.exit("\n".join(mistakes))
    mutants = list(drawn(given.seed, all_faults))
    if given.only:
        mutants = [mutant for mutant in mutants[:2 * given.count] if given.only in name_of(mutant)]
    try:
        results = results_of(mutants, given.count, Factory(given.place, given.copies), record)
    except Failure as failure:
        sys.exit(str(failure))
    if not given.only:
        sys.exit(page.show(results, PARTS, given.seed))


if __name__ == "__main__":
    main()
