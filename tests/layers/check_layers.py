#!/usr/bin/env python3
"""Checks the include directions between the folders: who may include whom, as docs/architecture.md draws it."""
import pathlib
import re
import sys

SOURCE = {".h", ".hpp", ".c", ".cpp"}
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)

# Folder -> folders that it may include besides itself. Folders below src/ go by their own name.
ALLOWED = {
    "liomol": set(),
    "api": {"liomol", "board", "transport", "service", "genicam", "util"},
    "board": {"liomol", "transport", "service", "genicam", "protocol", "platform", "util"},
    "transport": {"liomol", "protocol", "platform", "util"},
    "service": {"liomol", "protocol", "util"},
    "genicam": {"liomol", "math", "util"},
    "math": {"liomol", "util"},
    "util": {"liomol"},
    "platform": set(),
    "protocol": set(),
    "common": set(),
    "netif": {"protocol"},
    "softboard": {"platform", "protocol", "netif"},
    "simcam": {"platform", "protocol"},
    "apps": {"liomol", "common", "netif", "simcam", "platform", "protocol"},
    "examples": {"liomol"},
}
# Single files that may do more, each with its reason.
EXCEPTIONS = {
    ("apps/link_report/link_report.cpp", "softboard"): "the board in software alone knows the interfaces",
}


def folder_of(path: pathlib.PurePath) -> str | None:
    parts = path.parts
    if parts[0] in {"src", "include"}:
        return parts[1] if len(parts) > 2 else None
    return parts[0]


def included_folder(name: str) -> str | None:
    first = pathlib.PurePath(name).parts[0] if "/" in name else None
    return first if first in ALLOWED else None


def main(root: pathlib.Path) -> int:
    checked = 0
    wrong = []
    for path in sorted(root.rglob("*")):
        relative = path.relative_to(root)
        if path.suffix not in SOURCE or relative.parts[0] not in {"src", "include", *ALLOWED}:
            continue
        folder = folder_of(relative)
        if folder is None or folder not in ALLOWED:
            continue
        checked += 1
        for name in INCLUDE.findall(path.read_text(encoding="utf-8")):
            target = included_folder(name)
            if target is None or target == folder or target in ALLOWED[folder]:
                continue
            if (relative.as_posix(), target) in EXCEPTIONS:
                continue
            wrong.append(f"{relative}: includes {name}: {folder} may not include {target}")
    for line in wrong:
        print(line)
    print(f"{checked} files checked, {len(wrong)} includes against the layers")
    return 1 if wrong or checked == 0 else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
