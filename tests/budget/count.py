#!/usr/bin/env python3
"""Counts the instructions of one operation under callgrind and holds them against the budget.

    count.py PROGRAM LIBRARY BUDGET.json [--write]

Two runs, one with twice the repetitions: their difference holds no start-up. Of a cache hit the
instructions of our own library count, since those of the C library depend on the machine; of a
statement those of the function that consists of it, its return included. A count that leaves the
budget by more than 5 % fails the test, also downwards: --write then records the better one.
Exit status 77 when valgrind is missing.
"""
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

TOLERANCE = 0.05
REPETITIONS = 10240  # a multiple of the entries that hits ask for in turn


def own_costs(path):
    """Yields (object, function, instructions): what each function executed itself."""
    names = {"ob": {}, "fn": {}}
    current = {"ob": "", "fn": ""}
    after_call = False
    with open(path, encoding="utf-8", errors="replace") as file:
        for line in file:
            named = re.match(r"(c?)(ob|fn)=\((\d+)\)(?: (.*))?", line)
            if named:
                called, kind, number, name = named.groups()
                if name is not None:
                    names[kind][number] = name.rstrip()
                if not called:
                    current[kind] = names[kind][number]
            elif line.startswith("calls="):
                after_call = True
            elif re.match(r"[-+*\d]", line):
                if not after_call:
                    yield current["ob"], current["fn"], int(line.split()[1])
                after_call = False


def count(program, operation, repetitions, counts):
    with tempfile.TemporaryDirectory() as folder:
        profile = os.path.join(folder, "profile")
        subprocess.run(["valgrind", "--tool=callgrind", "--quiet",
                        f"--callgrind-out-file={profile}", program, operation, str(repetitions)],
                       check=True, env={**os.environ, "LD_BIND_NOW": "1"}, stdout=sys.stderr)
        return sum(cost for obj, function, cost in own_costs(profile) if counts(obj, function))


def per_operation(program, operation, counts):
    once = count(program, operation, REPETITIONS, counts)
    twice = count(program, operation, 2 * REPETITIONS, counts)
    return (twice - once) / REPETITIONS


def main():
    program, library, budget_file = sys.argv[1:4]
    if shutil.which("valgrind") is None:
        print("skipped: valgrind is not installed; scripts/setup --checks installs it")
        return 77
    found = {
        "cache hit, 256 entries": per_operation(
            program, "hit", lambda obj, _: os.path.basename(obj).startswith(library)),
        "closed debug statement": per_operation(
            program, "statement", lambda _, function: function.startswith("closedStatement")),
    }
    if sys.argv[4:] == ["--write"]:
        with open(budget_file, "w", encoding="utf-8") as file:
            json.dump({name: round(value, 1) for name, value in found.items()}, file, indent=4)
            file.write("\n")
        return 0
    with open(budget_file, encoding="utf-8") as file:
        budget = json.load(file)
    failures = 0
    for name, value in found.items():
        good = abs(value - budget[name]) <= TOLERANCE * budget[name]
        failures += not good
        print(f"{'ok  ' if good else 'FAIL'} {name}: {value:.1f} instructions, budget {budget[name]}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
