"""What docs/reliability.md tells of the faults, from their results and the reasons that are kept."""

import os
import sys

from workshop import NOTICED, SURVIVED

REASONS = os.path.join(os.path.dirname(__file__), "reasons")
# Survivors that are not the same behaviour, of all faults.
MOST_OPEN = 0.05


def reasons():
    """By file, line before and line after: the kind (same, open or test) and the words."""
    found = {}
    with open(REASONS, encoding="utf-8") as file:
        text = "\n".join(line for line in file.read().splitlines() if not line.startswith("#"))
    for block in filter(None, (part.strip() for part in text.split("\n\n"))):
        name, before, after, reason = block.split("\n", 3)
        kind, words = reason.split(": ", 1)
        found[name, before[2:], after[2:]] = (kind, " ".join(words.split()))
    return found


def mistakes(known, faults, tests):
    """Reasons that excuse nothing, more than they mean, or by a test that is not there."""
    found = []
    for (file, before, after), (kind, words) in known.items():
        lines = {fault.line for fault in faults
                 if (fault.file, fault.before, fault.after) == (file, before, after)}
        if not lines:
            found.append(f"{file}: no fault makes '{after}' of '{before}'")
        elif len(lines) > 1 and kind != "test" and not words.startswith("in each line "):
            found.append(f"{file}: '{before}' stands in lines {sorted(lines)}")
        if kind == "test" and not has_test(tests, words):
            found.append(f"{file}: there is no test {words}")
    return found


def has_test(folder, name):
    program, function = name.split("::")
    path = os.path.join(folder, program + ".cpp")
    if not os.path.exists(path):
        return False
    with open(path, encoding="utf-8") as file:
        return f"::{function}()" in file.read()


def code(text):
    return "`" + text.replace("|", "\\|") + "`"


def row(cells):
    return "| " + " | ".join(str(cell) for cell in cells) + " |"


def told(result, known):
    """Where a survivor is, what it changes, and why it may live; nothing for what was noticed."""
    kind, words = known.get((result["file"], result["before"], result["after"]), ("", ""))
    if result["outcome"] == NOTICED and kind != "test":
        return None
    if result["outcome"] == SURVIVED and kind not in ("same", "open"):
        return "", "no reason is known"
    return kind, {"same": "the same: ", "open": "not the same: ", "test": "got "}[kind] + words


def counts(results, kinds):
    noticed = sum(result["outcome"] == NOTICED for result in results)
    return len(results), noticed, kinds.count("same"), len(results) - noticed - kinds.count("same")


def show(results, parts, seed):
    """Prints the page; the status is 1 when survivors have no reason, or too many are not the same."""
    known = reasons()
    stories = [(result, told(result, known)) for result in results]
    kinds_of = lambda folder: [story[0] for result, story in stories
                               if story and result["file"].startswith(folder)]
    count, noticed, same, survived = counts(results, kinds_of(""))
    print(f"Seed {seed}: {count} faults, {noticed} noticed, {same} the same behaviour, {survived} "
          "survived\n")
    print(row(["part", "faults", "noticed", "the same behaviour", "survived"]))
    print("|---|---|---|---|---|")
    for part, folder in [*parts.items(), ("all", "")]:
        mine = [result for result in results if result["file"].startswith(folder)]
        print(row([part, *counts(mine, kinds_of(folder))]))
    print("\n" + row(["fault", "before", "after", "why it may live, or the test that it got"]))
    print("|---|---|---|---|")
    for result, story in sorted(stories, key=lambda pair: pair[0]["name"]):
        if story:
            file = os.path.basename(result["file"])
            print(row([f"{file}, {result['rule']}", code(result["before"]),
                       code(result["after"]), story[1]]))
    kinds = kinds_of("")
    unexplained, open_ones = kinds.count(""), kinds.count("open")
    print(f"{len(results)} faults, {unexplained} survivors without a reason, {open_ones} not the"
          " same", file=sys.stderr)
    return 1 if unexplained or open_ones > MOST_OPEN * len(results) else 0
