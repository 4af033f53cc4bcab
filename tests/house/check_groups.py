#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Every exported class of the public headers is in a group of the reference."""
import pathlib
import re
import sys

EXPORTED = re.compile(r"^(?:class|struct) LOOMKIT_API (\w+)[^;{]*\{", re.M)
GROUPED = re.compile(r"@(?:class|struct) ([\w:]+)\n\s*@ingroup \w+")
FORWARD = re.compile(r"^namespace [\w:]+ \{\n(?:(?:class|struct) \w+;\n)*\}.*\n", re.M)
NAMESPACE = re.compile(r"^namespace ([\w:]+) \{|^\}  // namespace", re.M)


def classes(text):
    """The classes that a header exports, with the namespaces around them."""
    text = FORWARD.sub("", text)
    for match in EXPORTED.finditer(text):
        spaces = []
        for space in NAMESPACE.finditer(text, 0, match.start()):
            if space.group(1):
                spaces.append(space.group(1))
            elif spaces:
                spaces.pop()
        yield "::".join([*spaces, match.group(1)])


root = pathlib.Path(sys.argv[1])
headers = [pathlib.Path(line) for line in pathlib.Path(sys.argv[2]).read_text().splitlines() if line]
grouped = set(GROUPED.findall((root / "docs/reference/groups.dox").read_text()))
exported = {name: header for header in headers for name in classes(header.read_text())}
missing = sorted(set(exported) - grouped)
for name in missing:
    print(f"{exported[name]}: {name} is in no group of docs/reference/groups.dox")
print(f"{len(exported)} classes, {len(missing)} problems")
sys.exit(1 if missing or not exported else 0)
