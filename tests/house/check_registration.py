#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Every test, fuzz and bench source is built; every source says its licence."""
import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
problems = []


def listed(folder):
    """The text of all CMakeLists.txt of a folder and below."""
    return "\n".join(p.read_text() for p in (root / folder).rglob("CMakeLists.txt"))


tests = listed("tests")
for file in (root / "tests").rglob("*_test.cpp"):
    if not re.search(rf"\b{re.escape(file.name)}", tests):
        problems.append(f"{file.relative_to(root)}: in no CMakeLists.txt")
for file in (root / "tests/fuzz").glob("fuzz_*.cpp"):
    name = file.stem.removeprefix("fuzz_")
    if f"loomkit_fuzz({name})" not in tests:
        problems.append(f"{file.relative_to(root)}: not built")
    seeds = root / "tests/fuzz/seeds" / name
    if not seeds.is_dir() or not any(seeds.iterdir()):
        problems.append(f"{file.relative_to(root)}: no seeds in {seeds.relative_to(root)}")
for library in ("loomkit", "tessel"):
    sources = listed(library)
    for file in (root / library).rglob("*.cpp"):
        if not re.search(rf"\b{re.escape(file.name)}", sources):
            problems.append(f"{file.relative_to(root)}: in no CMakeLists.txt")

count = 0
for folder in ("loomkit", "tessel", "tools", "tests", "bench", "examples", "cmake", "scripts", ".ci"):
    for file in (root / folder).rglob("*"):
        if file.suffix in (".h", ".cpp", ".cmake", ".py", ".sh") or file.name == "CMakeLists.txt":
            count += 1
            if "SPDX-License-Identifier: MIT" not in file.read_text(errors="replace")[:200]:
                problems.append(f"{file.relative_to(root)}: no SPDX line")
print("\n".join(problems + [f"{count} files, {len(problems)} problems"]))
sys.exit(1 if problems or not count else 0)
