#!/usr/bin/env python3
"""Runs test programs under the checker of buffers, each in one process, and compares what is found
with a list of the tests that provoke it.

    suite.py GRALLOCINFO LIST PROGRAM...

A line of LIST is PROGRAM TEST KIND..., where TEST is the name of the test's class, or of the first
function of the finding when no test is in its stack; a KIND with a question mark is found in some
runs only, as processes happen to meet. Fails when a finding is not in the list, when
nothing is found that is, and when a program ends before its tests. Whether they pass is not looked
at: some need a process of their own, which ctest gives them.
"""

import json
import os
import re
import subprocess
import sys
import tempfile


def run(grallocinfo, program, folder):
    report = os.path.join(folder, "report.json")
    tests = os.path.join(folder, "tests.json")
    command = [grallocinfo, "run", "--check", "--report", report, "--", program,
               "--gtest_output=json:" + tests, "--gtest_brief=1"]
    subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
    if not os.path.exists(tests):
        return None
    os.remove(tests)
    with open(report, encoding="utf-8") as file:
        return json.load(file)["runs"][0]


def test_of(finding):
    stacks = finding["stack"] + finding.get("previous", {}).get("stack", [])
    for frame in stacks:
        body = re.search(r"(\w+)_Test(<.*>)?::TestBody", frame["function"])
        if body:
            return body.group(1)
    return stacks[0]["function"] if stacks else "?"


def read_list(path):
    with open(path, encoding="utf-8") as file:
        lines = [line.split() for line in file if line.strip() and not line.startswith("#")]
    return {(program, test, kind.rstrip("?")): kind.endswith("?")
            for program, test, *kinds in lines for kind in kinds}


def main():
    grallocinfo, listed, *programs = sys.argv[1:]
    expected = read_list(listed)
    failures = []
    for program in programs:
        name = os.path.basename(program)
        with tempfile.TemporaryDirectory() as folder:
            result = run(grallocinfo, program, folder)
        if result is None:
            failures.append(f"{name} ended before its tests")
            continue
        found = {(name, test_of(finding), finding["kind"]) for finding in result["findings"]}
        always = {row for row, by_chance in expected.items() if row[0] == name and not by_chance}
        failures += ["not provoked: " + " ".join(row) for row in sorted(found - expected.keys())]
        failures += ["no longer found: " + " ".join(row) for row in sorted(always - found)]
        print(f"{name}: {len(result['findings'])} findings", flush=True)
    print("\n".join(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
