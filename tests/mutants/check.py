#!/usr/bin/env python3
"""What the faults are, what the page tells of them, and what is known of them after a change."""

import collections
import contextlib
import io
import os
import sys
import tempfile
import threading
import time
import unittest
import unittest.mock

sys.dont_write_bytecode = True

import mutants
import page
import rules
import workshop
from workshop import NOTICED, NOT_COMPILED, SURVIVED, Verdict

SOURCE = """#include <a>
// if (comment) { return 1; }
int f(int a, const char* b)
{
    if (a < 10 && g(b)) {
        h("1 + 1");
        m_n = a + 2;
    }
    const std::vector<int> c { a };
    return a ? c.size() : 0;
}
"""

FAULTS = [
    "condition negated: if (!(a < 10 && g(b))) {",
    "result ignored: if ((a < 10 && g(b), false)) {",
    "condition dropped: if (true) {",
    "condition dropped: if ( g(b)) {",
    "condition dropped: if (a < 10 ) {",
    "result ignored: if (a < 10 && (g(b), true)) {",
    "bound shifted: if (a <= 10 && g(b)) {",
    "operator swapped: if (a < 10 || g(b)) {",
    "operator swapped: m_n = a - 2;",
    "condition negated: return !(a) ? c.size() : 0;",
    "statement left out: ;",
    "statement left out: ;",
    "constant off by one: if (a < 9 && g(b)) {",
    "constant off by one: if (a < 11 && g(b)) {",
    "constant off by one: m_n = a + 1;",
    "constant off by one: m_n = a + 3;",
    "constant off by one: return a ? c.size() : 1;",
]


def fault(line=1, after="b"):
    return rules.Mutant("src/x.cpp", line, "rule", "a", after, 0, 0, "")


def result(outcome, before="a"):
    return {"file": "src/x.cpp", "rule": "rule", "name": "src/x.cpp:1 rule", "before": before,
            "after": "b", "outcome": outcome, "by": ""}


def drawn(seed):
    return list(mutants.drawn(seed, list(mutants.faults())))


class Rules(unittest.TestCase):
    def test_each_rule_makes_its_faults_and_nothing_in_comments_or_texts(self):
        found = [f"{mutant.rule}: {mutant.after}" for mutant in rules.mutants("x.cpp", SOURCE)]
        self.assertEqual(sorted(found), sorted(FAULTS))

    def test_a_fault_is_on_one_line_and_leaves_the_others(self):
        for mutant in rules.mutants("x.cpp", SOURCE):
            changed = [i for i, (old, new) in enumerate(
                zip(SOURCE.split("\n"), mutant.text.split("\n")), 1) if old != new]
            self.assertEqual(changed, [mutant.line])

    def test_the_seed_alone_decides_what_is_drawn(self):
        first = [mutants.name_of(mutant) for mutant in drawn("1")]
        self.assertEqual(first, [mutants.name_of(mutant) for mutant in drawn("1")])
        self.assertNotEqual(first[:50], [mutants.name_of(mutant) for mutant in drawn("2")][:50])

    def test_every_part_has_its_share_and_no_line_comes_twice(self):
        first = drawn("1")[:200]
        for folder in mutants.PARTS.values():
            self.assertGreaterEqual(sum(m.file.startswith(folder) for m in first), 45)
        self.assertEqual(len({(m.file, m.line) for m in first}), 200)


class Page(unittest.TestCase):
    def shown(self, results, reasons):
        with tempfile.NamedTemporaryFile("w", suffix=".reasons") as file:
            file.write(reasons)
            file.flush()
            out = io.StringIO()
            with unittest.mock.patch.object(page, "REASONS", file.name), \
                    contextlib.redirect_stdout(out), contextlib.redirect_stderr(io.StringIO()):
                status = page.show(results, mutants.PARTS, "1")
            return status, out.getvalue()

    def test_what_is_noticed_needs_no_word(self):
        status, text = self.shown([result(NOTICED)], "# nothing\n")
        self.assertEqual(status, 0)
        self.assertNotIn("x.cpp", text)

    def test_a_survivor_without_a_reason_fails(self):
        status, text = self.shown([result(SURVIVED)], "# nothing\n")
        self.assertEqual(status, 1)
        self.assertIn("no reason is known", text)

    def test_a_survivor_with_a_reason_is_told(self):
        status, text = self.shown([result(SURVIVED)], "src/x.cpp\n- a\n+ b\nsame: as\n it is\n")
        self.assertEqual(status, 0)
        self.assertIn("| `a` | `b` | the same: as it is |", text)

    def test_a_survivor_whose_test_does_not_notice_it_fails(self):
        self.assertEqual(self.shown([result(SURVIVED)], "src/x.cpp\n- a\n+ b\ntest: t::f\n")[0], 1)

    def test_too_many_that_are_not_the_same_fail(self):
        reasons = "src/x.cpp\n- a\n+ b\nopen: rare\n"
        noticed = [result(NOTICED, "other")]
        self.assertEqual(self.shown([result(SURVIVED)] + 19 * noticed, reasons)[0], 0)
        self.assertEqual(self.shown([result(SURVIVED)] + 18 * noticed, reasons)[0], 1)


class Reasons(unittest.TestCase):
    def mistakes(self, kind, words, faults):
        with tempfile.TemporaryDirectory() as tests:
            with open(os.path.join(tests, "tst_a.cpp"), "w", encoding="utf-8") as file:
                file.write("void tst_a::works()\n")
            return page.mistakes({("src/x.cpp", "a", "b"): (kind, words)}, faults, tests)

    def test_a_reason_names_one_fault(self):
        self.assertEqual(self.mistakes("same", "so", [fault()]), [])
        self.assertIn("no fault", self.mistakes("same", "so", [fault(after="c")])[0])
        self.assertIn("lines [1, 2]", self.mistakes("same", "so", [fault(1), fault(2)])[0])

    def test_a_test_is_there(self):
        self.assertEqual(self.mistakes("test", "tst_a::works", [fault(1), fault(2)]), [])
        self.assertIn("no test", self.mistakes("test", "tst_a::fails", [fault()])[0])
        self.assertIn("no test", self.mistakes("test", "tst_b::works", [fault()])[0])

    def test_those_that_are_kept_are_right(self):
        self.assertEqual(page.mistakes(page.reasons(), [each for _, each in mutants.faults()],
                                       os.path.join(mutants.ROOT, "tests")), [])


class BrokenOff(unittest.TestCase):
    """With two shops that judge nothing, the second of which is broken off."""

    class Shop:
        def __init__(self, name):
            self.name, self.judged = name, 0

        def judge(self, mutant, order, usual):
            self.judged += 1
            if self.name == "broken":
                raise workshop.Failure("interrupted")
            time.sleep(0.05)
            return Verdict(NOTICED, "tst_a::works", {})

    def test_what_was_being_judged_stays_unknown_and_the_rest_is_left(self):
        factory = mutants.Factory.__new__(mutants.Factory)
        factory.shops = [self.Shop("whole"), self.Shop("broken")]
        factory.usual, factory.noticed = {}, collections.Counter()
        factory.stopped = threading.Event()
        recorded = []
        record = type("Record", (), {"add": lambda _, mutant, verdict: recorded.append(mutant)})()
        faults = [rules.Mutant(f"src/{i}.cpp", 1, "r", "a", "b", 0, 0, "") for i in range(100)]
        with self.assertRaises(workshop.Failure):
            factory.run(faults, record, lambda *_: None)
        self.assertEqual(len(recorded), factory.shops[0].judged)
        self.assertLess(len(recorded), 10)

    def test_a_build_that_fails_by_itself_says_nothing_of_the_fault(self):
        shop = workshop.Workshop.__new__(workshop.Workshop)
        shop.build, shop.cores = ".", 1
        test = workshop.Test("tst_a", [])
        for said, status, outcome in (
                ("x.cpp:1:2: error: no", 1, False), ("fine", 0, True),
                ("x.cpp:1:2: error: no\nninja: build stopped: interrupted by user.", 130, None),
                ("ld: No space left on device", 1, None)):
            with tempfile.TemporaryDirectory() as folder:
                with open(os.path.join(folder, "ninja"), "w", encoding="utf-8") as file:
                    file.write(f"#!/bin/sh\ncat <<'E'\n{said}\nE\nexit {status}\n")
                os.chmod(file.name, 0o755)
                with unittest.mock.patch.dict(os.environ, PATH=folder + ":" + os.environ["PATH"]):
                    if outcome is None:
                        self.assertRaises(workshop.Failure, shop.compiles, test)
                    else:
                        self.assertEqual(shop.compiles(test), outcome)


class Record(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.root, mutants.ROOT = mutants.ROOT, self.folder.name
        mutants.checked(["git", "-C", mutants.ROOT, "init", "-q"])
        for name in ("src/x.cpp", "tests/tst_a.cpp", "tests/tst_b.cpp"):
            self.write(name, "one")

    def tearDown(self):
        mutants.ROOT = self.root
        self.folder.cleanup()

    def write(self, name, text):
        path = os.path.join(mutants.ROOT, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)

    def record(self, seed="1"):
        with contextlib.redirect_stderr(io.StringIO()):
            return mutants.Record(os.path.join(mutants.ROOT, ".git/results"), seed)

    def known_after(self, change, seed="1"):
        record = self.record()
        for line, verdict in ((1, Verdict(NOTICED, "tst_a::f", {})), (2, Verdict(SURVIVED, "", {})),
                              (3, Verdict(NOT_COMPILED, "", {}))):
            record.add(fault(line), verdict)
        change()
        record = self.record(seed)
        return [line for line in (1, 2, 3) if record.of(fault(line)) is not None]

    def test_a_run_goes_on(self):
        self.assertEqual(self.known_after(lambda: None), [1, 2, 3])

    def test_a_line_that_was_cut_off_does_not_count(self):
        def cut():
            with open(os.path.join(mutants.ROOT, ".git/results"), "r+b") as file:
                file.truncate(os.path.getsize(file.name) - 5)
        self.assertEqual(self.known_after(cut), [1, 2])
        self.record().add(fault(4), Verdict(SURVIVED, "", {}))
        self.assertIsNotNone(self.record().of(fault(4)))

    def test_another_source_begins_anew(self):
        self.assertEqual(self.known_after(lambda: self.write("src/x.cpp", "two")), [])

    def test_another_seed_begins_anew(self):
        self.assertEqual(self.known_after(lambda: None, "2"), [])

    def test_a_survivor_is_tried_again_after_any_test_has_changed(self):
        self.assertEqual(self.known_after(lambda: self.write("tests/tst_b.cpp", "two")), [1, 3])

    def test_a_verdict_is_tried_again_after_its_test_has_changed(self):
        self.assertEqual(self.known_after(lambda: self.write("tests/tst_a.cpp", "two")), [3])

    def test_a_test_that_is_edited_during_a_run_counts_in_the_next(self):
        record = self.record()
        self.write("tests/tst_a.cpp", "two")
        record.add(fault(), Verdict(NOTICED, "tst_a::f", {}))
        self.assertIsNotNone(record.of(fault()))
        self.assertIsNone(self.record().of(fault()))


if __name__ == "__main__":
    unittest.main()
