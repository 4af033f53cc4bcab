#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Each folder of the library includes only folders of lower floors."""
import pathlib
import re
import sys

# What a folder may include, besides itself.
PLATFORM = {"platform"}
TEXT = PLATFORM | {"text"}
FLOORS = {
    "platform": set(),
    "text": PLATFORM,
    "rpn": TEXT,
    "object": TEXT,
    "xbase": TEXT,
    "streams": TEXT,
    "system": TEXT,
    "archive": TEXT | {"streams"},
    "archive/zip": TEXT | {"streams", "archive"},
    "archive/material": TEXT | {"streams", "archive/zip"},
    "config": TEXT | {"streams"},
    "db": TEXT,
    "db/sql": TEXT | {"db"},
    "db/sqlite": TEXT | {"streams", "db", "db/sql"},
    "db/csv": TEXT | {"streams", "archive/zip", "db"},
    "db/tessel": TEXT | {"streams", "db"},
    "db/xbase": TEXT | {"streams", "xbase", "db"},
}
SYSTEM_HEADER = re.compile(
    r"#\s*include\s*<(windows|unistd|dirent|dlfcn|fcntl|spawn|poll|iconv|sys/[\w/]+)\.h>")
SYSTEM_CHOICE = re.compile(r"#\s*(if|elif).*(_WIN32|__linux__|__unix__|_MSC_VER|__APPLE__)")


def folder_of(path):
    """The floor's name for a path below loomkit/, or None for loomkit/*.h."""
    parts = path.parts[:-1]
    if not parts:
        return None
    return "/".join(parts[:2]) if parts[0] in ("archive", "db") else parts[0]


def check(root):
    library = root / "loomkit"
    problems = []
    files = sorted(p for p in library.rglob("*") if p.suffix in (".h", ".cpp"))
    for file in files:
        relative = file.relative_to(library)
        folder = folder_of(relative)
        if folder is None:
            continue
        if folder not in FLOORS:
            problems.append(f"{relative}: folder {folder} stands on no floor")
            continue
        for number, line in enumerate(file.read_text().splitlines(), 1):
            where = f"loomkit/{relative}:{number}"
            include = re.match(r'#\s*include\s*"loomkit/(.+)"', line)
            if include:
                target = folder_of(pathlib.PurePath(include.group(1)))
                if target is None:
                    target = "."
                if target != folder and target not in FLOORS[folder]:
                    problems.append(f"{where}: {folder} must not include {target}")
            if folder != "platform":
                if SYSTEM_HEADER.match(line):
                    problems.append(f"{where}: a system header outside platform/")
                if SYSTEM_CHOICE.match(line):
                    problems.append(f"{where}: a choice by system outside platform/")
    return len(files), problems


def main():
    count, problems = check(pathlib.Path(sys.argv[1]))
    for problem in problems:
        print(problem)
    if count == 0:
        print("no file was checked")
        return 1
    print(f"{count} files, {len(problems)} problems")
    return 1 if problems else 0


sys.exit(main())
