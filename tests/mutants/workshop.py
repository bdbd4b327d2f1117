"""A working copy of the tree with a build of its own, in which one fault at a time is built and run
against the tests that could see it."""

import collections
import json
import os
import re
import resource
import shutil
import signal
import subprocess
import time

Test = collections.namedtuple("Test", "name command")
Verdict = collections.namedtuple("Verdict", "outcome by times")

NOTICED, SURVIVED, NOT_COMPILED = "noticed", "survived", "did not compile"
# Warnings would hide faults that compile; nobody looks into these programs with a debugger.
OPTIONS = ["-G", "Ninja", "-DINDEXUSER_DEVELOPER=ON", "-DCMAKE_BUILD_TYPE=None",
           "-DCMAKE_CXX_FLAGS=-O0 -g0 -w", "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON",
           "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld", "-DCMAKE_SHARED_LINKER_FLAGS=-fuse-ld=lld"]
MOST_MEMORY = 6 << 30
TOO_LONG = "(takes too long)"


class Failure(Exception):
    pass


def checked(command, **options):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          **options)
    if done.returncode != 0:
        raise Failure(f"{' '.join(command)}:\n{done.stdout[-3000:]}")
    return done.stdout


def files_of(root):
    names = checked(["git", "-C", root, "ls-files", "-z", "--cached", "--others",
                     "--exclude-standard"])
    return [name for name in names.split("\0") if os.path.isfile(os.path.join(root, name))]


def content(path):
    with open(path, "rb") as file:
        return file.read()


class Workshop:
    def __init__(self, root, place, cores):
        self.root, self.source, self.cores = root, os.path.join(place, "source"), cores
        self.build, self.scratch = os.path.join(place, "build"), os.path.join(place, "tmp")
        self.changed = None

    def set_up(self):
        self.copy_tree()
        checked(["cmake", "-S", self.source, "-B", self.build, *OPTIONS])
        self.tests = self.list_tests()
        checked(["ninja", "-C", self.build, f"-j{self.cores}",
                 *[test.name for test in self.tests]])
        self.inputs = {test.name: self.inputs_of(test.name) for test in self.tests}

    def copy_tree(self):
        """Only what differs, so that the build goes on."""
        names = files_of(self.root)
        for folder, _, present in os.walk(self.source):
            for name in present:
                path = os.path.join(folder, name)
                if os.path.relpath(path, self.source) not in set(names):
                    os.remove(path)
        for name in names:
            here, there = os.path.join(self.root, name), os.path.join(self.source, name)
            if not os.path.exists(there) or content(here) != content(there):
                os.makedirs(os.path.dirname(there), exist_ok=True)
                shutil.copy(here, there)

    def list_tests(self):
        """The test programs; what runs scripts over the tree sees no fault in a function."""
        listed = json.loads(checked(["ctest", "--test-dir", self.build, "--show-only=json-v1"]))
        return [Test(test["name"], [os.path.join(self.build, "bin", test["name"])])
                for test in listed["tests"] if test["name"].startswith("tst_")]

    def inputs_of(self, target):
        return set(checked(["ninja", "-C", self.build, "-t", "inputs", target]).splitlines())

    def tests_of(self, file):
        path = os.path.join(self.source, file)
        return [test for test in self.tests if path in self.inputs[test.name]]

    def write(self, file, text):
        with open(os.path.join(self.source, file), "w", encoding="utf-8") as out:
            out.write(text)

    def change(self, file, text):
        """Puts one source in another form, and the one that was changed before in its own."""
        if self.changed not in (None, file):
            self.write(self.changed, content(os.path.join(self.root, self.changed)).decode())
        self.changed = file
        self.write(file, text)

    def judge(self, mutant, order, usual):
        """Runs the tests in the order given until one fails."""
        self.change(mutant.file, mutant.text)
        times = {}
        for test in sorted(self.tests_of(mutant.file), key=order):
            if not self.compiles(test):
                return Verdict(NOT_COMPILED, "", times)
            start = time.monotonic()
            failure = self.failure_of(test, 3 * usual.get(test.name, 200) + 5)
            if failure.endswith(TOO_LONG):
                # The machine may have been busy.
                failure = self.failure_of(test, 3 * usual.get(test.name, 200) + 5)
            times[test.name] = time.monotonic() - start
            if failure:
                return Verdict(NOTICED, failure, times)
        return Verdict(SURVIVED, "", times)

    def compiles(self, test):
        """A build that was broken off, or found no room, says nothing of the fault."""
        done = subprocess.run(["ninja", "-C", self.build, f"-j{self.cores}", test.name],
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if done.returncode != 0 and (": error: " not in done.stdout
                                     or "interrupted by user" in done.stdout):
            raise Failure(f"the build of {test.name} failed:\n{done.stdout[-3000:]}")
        return done.returncode == 0

    def failure_of(self, test, seconds):
        """What a run of a test says against the fault; nothing when it passes."""
        shutil.rmtree(self.scratch, ignore_errors=True)
        os.makedirs(self.scratch)
        log = os.path.join(self.scratch, "log")
        with open(log, "wb") as out:
            process = subprocess.Popen(
                test.command, stdin=subprocess.DEVNULL, stdout=out, stderr=subprocess.STDOUT,
                cwd=self.scratch, env={**os.environ, "TMPDIR": self.scratch, "HOME": self.scratch},
                start_new_session=True, preexec_fn=limit_memory)
            try:
                status = process.wait(seconds)
            except subprocess.TimeoutExpired:
                status = "time"
            finish(process)
        if status == 0:
            return ""
        failed = re.search(rb"FAIL!\s*: (\w+::\w+)", content(log))
        return failed.group(1).decode() if failed else \
            f"{test.name} {TOO_LONG if status == 'time' else f'(ends with {status})'}"


def limit_memory():
    resource.setrlimit(resource.RLIMIT_AS, (MOST_MEMORY, MOST_MEMORY))


def finish(process):
    """Ends what the test has started as well."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()
