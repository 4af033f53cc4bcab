#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The programs of docs/cookbook.md: made into one, and run.

cookbook.py make PAGE SOURCE    writes one program of all of the page's
cookbook.py run PAGE PROGRAM    compares what each prints with the page
"""
import pathlib
import re
import subprocess
import sys
import tempfile

TASK = re.compile(r"^## (.+?)\n+```cpp\n(.*?)```\n```output\n(.*?)```$", re.M | re.S)
COUNT = 20


def tasks(page):
    text = pathlib.Path(page).read_text()
    found = TASK.findall(text)
    if len(found) != COUNT or len(re.findall(r"^## ", text, re.M)) != COUNT:
        sys.exit(f"{page}: {len(found)} of {COUNT} tasks are complete")
    return found


def make(page, source):
    """Each program becomes a function in a namespace of its own."""
    includes, bodies, calls = set(), [], []
    for number, (_, code, _) in enumerate(tasks(page), 1):
        includes |= set(re.findall(r"^#include .+$", code, re.M))
        body = re.sub(r"^#include .+\n", "", code, flags=re.M)
        if body.count("int main()") != 1:
            sys.exit(f"task {number} has no main()")
        bodies.append(f"namespace task{number} {{\n{body.replace('int main()', 'int run()')}}}\n")
        calls.append(f"  if (number == {number}) return task{number}::run();\n")
    pathlib.Path(source).write_text(
        "\n".join(sorted(includes | {"#include <cstdlib>"})) + "\n" + "".join(bodies) +
        "int main(int, char** argv) {\n  const int number = std::atoi(argv[1]);\n" +
        "".join(calls) + "  return 99;\n}\n")


def run(page, program):
    problems = 0
    with tempfile.TemporaryDirectory() as folder:
        for number, (title, _, expected) in enumerate(tasks(page), 1):
            done = subprocess.run([program, str(number)], cwd=folder, timeout=120,
                                  capture_output=True, text=True)
            if done.returncode != 0 or done.stdout != expected:
                problems += 1
                print(f"{title}: exit code {done.returncode}\n"
                      f"expected:\n{expected}printed:\n{done.stdout}{done.stderr}")
    print(f"{COUNT} tasks, {problems} problems")
    return 1 if problems else 0


sys.exit({"make": make, "run": run}[sys.argv[1]](*sys.argv[2:]))
