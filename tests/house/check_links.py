#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Links between the pages of the tree lead to files that are there."""
import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
problems = []
pages = [p for p in root.rglob("*.md") if "build" not in p.relative_to(root).parts]
for page in pages:
    for target in re.findall(r"\]\(([^)#\s]+)(?:#[^)]*)?\)", page.read_text()):
        if "://" in target or target.startswith("mailto:"):
            continue
        if not (page.parent / target).exists():
            problems.append(f"{page.relative_to(root)}: {target} is not there")
print("\n".join(problems + [f"{len(pages)} pages, {len(problems)} problems"]))
sys.exit(1 if problems or not pages else 0)
