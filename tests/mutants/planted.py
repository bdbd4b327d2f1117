#!/usr/bin/env python3
"""planted.py PLACE: faults that a save or an edit must not have, planted one by one. Each turns the
proof that is there for it red, which is green without. Works in PLACE; prints the page."""

import collections
import os
import subprocess
import sys

sys.dont_write_bytecode = True

from mutants import ROOT
from workshop import OPTIONS, Failure, Workshop, checked, content

DURABLE = "src/indexmodel/standalone/durablefile.cpp"
TRANSACTION = "src/indexmodel/mend/transaction.cpp"
EDIT = "src/indexmodel/mend/edit.cpp"
SAVE = "src/indexmodel/indexuser/userconfigfile.cpp"
LOCK = "src/indexmodel/mend/userlock.cpp"
TARGETS = ("indexuserctl", "savedriver", "faultshim", "sweep")

Planted = collections.namedtuple("Planted", "name file before after proof")
PLANTED = [
    Planted("no sync of a file", DURABLE, "(sync == Sync::Never || m_file.sync()) && ", "",
            ("crash", "edit")),
    Planted("no sync of a directory", DURABLE, "&& (!bRead || syncNames(path, bNew))", "",
            ("crash", "first save")),
    Planted("no sync of a new directory's name", DURABLE, "(!isNew || syncDirectory(",
            "(true || syncDirectory(", ("crash", "first save")),
    Planted("no sync of the live file's directory", TRANSACTION, "&& syncPath(m_strConfigDir)", "",
            ("crash", "edit")),
    Planted("the live file removed first", SAVE, "    const SavePaths paths;\n",
            "    const SavePaths paths;\n    QFile::remove(paths.strLive);\n",
            ("crash", "first save")),
    Planted("nothing read back", DURABLE, "(!bRead || replacement.holds(content))", "true",
            ("faults", "Save")),
    Planted("the error of a rename dropped", DURABLE, "&& replacement.takePlaceOf(path)",
            "&& (replacement.takePlaceOf(path), true)", ("faults", "Save")),
    Planted("an edit not compared with the file", EDIT, "if (!(edit.expected == found))",
            "if (false)", ("faults", "Edit")),
    Planted("a lock that names nobody kept for ever", LOCK, "if (isCutOff(path) && ",
            "if (false && ", ("kills", "Edit")),
    Planted("no lock", LOCK, "if (m_file.tryLock(0))", "if (m_file.tryLock(0), true)",
            ("processes", "4")),
]


def command_of(proof, build):
    """A proof in its short form, of one subject."""
    folder, bin_of = os.path.join(ROOT, "tests/faults"), os.path.join(build, "bin", "")
    name, subject = proof
    if name == "crash":
        return ["python3", f"{folder}/crash.py", f"{bin_of}indexuserctl", f"{bin_of}savedriver",
                "--only", subject, "--most", "100"]
    if name == "processes":
        return ["python3", f"{folder}/processes.py", f"{bin_of}indexuserctl", "--edits", "20",
                "--writers", subject]
    return [f"{bin_of}sweep", name, "--quick", "--only", subject]


class Bench:
    """A working copy with the programs of the proofs."""

    def __init__(self, place):
        self.shop = Workshop(ROOT, place, os.cpu_count())

    def set_up(self):
        self.shop.copy_tree()
        checked(["cmake", "-S", self.shop.source, "-B", self.shop.build, *OPTIONS])
        self.make()
        for proof in sorted({fault.proof for fault in PLANTED}):
            if self.fails(proof):
                raise Failure(f"red without any fault: {' '.join(proof)}")

    def make(self):
        checked(["ninja", "-C", self.shop.build, f"-j{self.shop.cores}", *TARGETS])

    def fails(self, proof):
        command = command_of(proof, self.shop.build)
        return subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL).returncode != 0

    def notices(self, fault):
        text = content(os.path.join(ROOT, fault.file)).decode()
        if text.count(fault.before) != 1:
            raise Failure(f"{fault.name}: '{fault.before}' is not once in {fault.file}")
        self.shop.change(fault.file, text.replace(fault.before, fault.after))
        self.make()
        return self.fails(fault.proof)


def main():
    bench = Bench(os.path.realpath(sys.argv[1]))
    try:
        bench.set_up()
        verdicts = [(fault, bench.notices(fault)) for fault in PLANTED]
    except Failure as failure:
        sys.exit(str(failure))
    print("| planted | proof | turns red |\n|---|---|---|")
    for fault, noticed in verdicts:
        print(f"| {fault.name} | {' '.join(fault.proof)} | {'yes' if noticed else 'NO'} |")
    sys.exit(0 if all(noticed for _, noticed in verdicts) else 1)


if __name__ == "__main__":
    main()
