#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Each folder of the library and of the table store includes only folders of
lower floors."""
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
    "rows": TEXT | {"rpn", "db"},
    "db/sql": TEXT | {"db"},
    "db/sqlite": TEXT | {"streams", "db", "db/sql"},
    "db/postgresql": TEXT | {"db", "db/sql"},
    "db/csv": TEXT | {"streams", "archive/zip", "db"},
    "db/tessel": TEXT | {"streams", "db"},
    "db/xbase": TEXT | {"streams", "xbase", "db"},
    # The store knows of the library what is in the way of bytes and files, and the
    # ten calls that it answers; what is beside its two folders knows the databases.
    "tessel/store": TEXT,
    "tessel/builder": TEXT | {"tessel/store"},
    "tessel": TEXT | {"db", "db/tessel", "tessel/store", "tessel/builder"},
}
# Single headers that a folder may include beyond that.
HEADERS = {
    "tessel/store": {"loomkit/db/tessel/tessel.h"},
    "tessel/builder": {"loomkit/db/tessel/tessel.h"},
}
SYSTEM_HEADER = re.compile(
    r"#\s*include\s*<(windows|unistd|dirent|dlfcn|fcntl|spawn|poll|iconv|sys/[\w/]+)\.h>")
SYSTEM_CHOICE = re.compile(r"#\s*(if|elif).*(_WIN32|__linux__|__unix__|_MSC_VER|__APPLE__)")


def folder_of(path):
    """The floor's name for a path of the tree, or None for loomkit/*.h."""
    parts = path.parts[:-1]
    if parts[0] == "tessel":
        return "/".join(parts[:2])
    parts = parts[1:]
    if not parts:
        return None
    return "/".join(parts[:2]) if parts[0] in ("archive", "db") else parts[0]


def check(root):
    problems = []
    files = sorted(p for top in ("loomkit", "tessel") for p in (root / top).rglob("*")
                   if p.suffix in (".h", ".cpp"))
    for file in files:
        relative = file.relative_to(root)
        folder = folder_of(relative)
        if folder is None:
            continue
        if folder not in FLOORS:
            problems.append(f"{relative}: folder {folder} stands on no floor")
            continue
        for number, line in enumerate(file.read_text().splitlines(), 1):
            where = f"{relative}:{number}"
            include = re.match(r'#\s*include\s*"((?:loomkit|tessel)/.+)"', line)
            if include:
                target = folder_of(pathlib.PurePath(include.group(1)))
                if target is None:
                    target = "."
                if (target != folder and target not in FLOORS[folder]
                        and include.group(1) not in HEADERS.get(folder, ())):
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
