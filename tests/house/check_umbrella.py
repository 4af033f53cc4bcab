#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""loomkit.h includes every public header; public headers include only such."""
import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
public = {str(pathlib.Path(line).relative_to(root))
          for line in pathlib.Path(sys.argv[2]).read_text().split()}
umbrella = "loomkit/loomkit.h"
included = set(re.findall(r'#include "(.+)"', (root / umbrella).read_text()))

problems = [f"{name}: public, but not in {umbrella}" for name in sorted(public - included - {umbrella})]
problems += [f"{name}: in {umbrella}, but not public" for name in sorted(included - public)]
for name in sorted(public):
    for other in re.findall(r'#include "(.+)"', (root / name).read_text()):
        if other not in public:
            problems.append(f"{name}: includes {other}, which is not installed")
print("\n".join(problems + [f"{len(public)} public headers, {len(problems)} problems"]))
sys.exit(1 if problems or not public else 0)
