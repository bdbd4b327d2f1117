#!/usr/bin/env python3
"""Holds every --json answer that the tests of the host have had, and every patch, against docs/json/.

Usage: answers.py ROOT ANSWERS, where ANSWERS has a file a test, a line a run of the tool.
"""
import json
import pathlib
import sys

import jsonschema

FEWEST = 60  # else the tests have stopped to tell
FEWEST_PATCHES = 20


def validator(directory, name):
    form = json.loads((directory / name).read_text())
    jsonschema.Draft202012Validator.check_schema(form)
    return jsonschema.Draft202012Validator(form)


def patch_defects(run, forms):
    """What is wrong with the patch that a run has written, in words."""
    try:
        patch = json.loads(run["patch"])
    except ValueError as error:
        return [f"no JSON: {error}"]
    return [f"{error.json_path}: {error.message}" for error in forms.iter_errors(patch)]


def defects(run, forms):
    """What is wrong with the answers of one run, in words: with --jsonl it has one a line."""
    try:
        answers = read(run)
    except ValueError as error:
        return [f"no JSON: {error}"]
    # Of those who were answered before, the status is one of now, too.
    if "--resume" not in run["words"] and run["status"] not in [each.get("status") for each in answers]:
        return [f"the process ended with {run['status']}, and no answer did"]
    return [defect for answer in answers for defect in defects_of(answer, len(answers), run, forms)]


def read(run):
    if "--jsonl" in run["words"]:
        return [json.loads(line) for line in run["out"].splitlines()]
    return [json.loads(run["out"])]


def defects_of(answer, count, run, forms):
    found = [f"{error.json_path}: {error.message}" for error in forms.iter_errors(answer)]
    if not found and count == 1 and answer["status"] != run["status"]:
        found = [f"status {answer['status']}, but the process ended with {run['status']}"]
    if not found and answer["error"] and answer["error"]["message"] not in run["err"]:
        found = ["the message is not on standard error"]
    return found


def main():
    directory = pathlib.Path(sys.argv[1]) / "docs" / "json"
    forms = validator(directory, "answer.schema.json")
    lines = [json.loads(line) for path in sorted(pathlib.Path(sys.argv[2]).glob("*.jsonl"))
             for line in path.read_text().splitlines()]
    runs = [each for each in lines if "patch" not in each]
    patches = len(lines) - len(runs)
    patch_forms = validator(directory, "patch.schema.json")
    bad = 0
    for run in lines:
        for defect in patch_defects(run, patch_forms) if "patch" in run else defects(run, forms):
            print(f"{run['test']}: {' '.join(run['words'])}: {defect}"[:2000])
            bad += 1
    told = {answer.get("command") for run in runs for answer in read(run)} if not bad else set()
    silent = [each for each in forms.schema["properties"]["command"]["enum"] if each not in told]
    if not bad and silent:
        print(f"no answer of: {silent}")
    print(f"{len(runs)} answers, {patches} patches, {bad} defects")
    sys.exit(1 if bad or silent or len(runs) < FEWEST or patches < FEWEST_PATCHES else 0)


if __name__ == "__main__":
    main()
