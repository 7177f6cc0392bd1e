#!/usr/bin/env python3
"""Checks the include directions between the folders against the arrows that docs/architecture.md draws.

The page's block of arrows is read as it stands: "a, b -> c, d (note)". A name is a folder, of the tree or of
src/, or a part of one ("genicam/nodes", "apps/link_report"); a part may also do what the whole may, but the
rooms of a folder that has several reach each other only as their own arrows say. A line without an arrow goes
on with the one before it.
"""
import pathlib
import re
import sys

SOURCE = {".h", ".hpp", ".c", ".cpp"}
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)
BLOCK = re.compile(r"^```\n((?:[^`]*->[^`]*)+)^```", re.MULTILINE)
ALL = "everything"


def read_arrows(page: str) -> dict[str, set[str]]:
    block = next(b for b in BLOCK.findall(page) if re.search(r"^api +->", b, re.MULTILINE))
    arrows: dict[str, set[str]] = {}
    names: list[str] = []
    for line in re.sub(r"\([^)]*\)", "", block).splitlines():
        left, arrow, right = line.rpartition("->")
        if arrow:
            names = [name.strip() for name in left.split(",")]
        for name in names:
            arrows.setdefault(name, set()).update(t for t in (p.strip() for p in right.split(",")) if t)
    return arrows


class Tree:
    def __init__(self, root: pathlib.Path):
        self.root = root
        self.arrows = read_arrows((root / "docs/architecture.md").read_text(encoding="utf-8"))

    def sources(self):
        for path in sorted(self.root.rglob("*")):
            relative = path.relative_to(self.root)
            if path.suffix in SOURCE and relative.parts[0] in self.top_folders():
                yield relative

    def top_folders(self) -> set[str]:
        return {name for name in (n.split("/")[0] for n in self.arrows) if (self.root / name).is_dir()} | {"src"}

    def missing(self):
        """Folders with sources that no arrow names, and names that are no folder or file."""
        for base in (self.root, self.root / "src"):
            for folder in sorted(p for p in base.iterdir() if p.is_dir() and p.name not in {"src", "build"}):
                if folder.name not in self.arrows and any(p.suffix in SOURCE for p in folder.rglob("*")):
                    yield f"{folder.relative_to(self.root)}: has no arrow in docs/architecture.md"
        for name in sorted(self.arrows):
            if not any(p.exists() for b in (self.root, self.root / "src") for p in (b / name, *b.glob(name + ".*"))):
                yield f"docs/architecture.md: {name} is neither a folder nor a file"

    def rooms(self, path: pathlib.PurePath) -> list[str]:
        """The names in the page that a file belongs to, the narrowest first."""
        parts = path.parts[1:] if path.parts[0] == "src" else path.parts
        parts = (*parts[:-1], parts[-1].split(".")[0])
        return [name for i in range(len(parts), 0, -1) if (name := "/".join(parts[:i])) in self.arrows]

    def target(self, source: pathlib.PurePath, name: str) -> pathlib.PurePath | None:
        for base in (self.root / source.parent, *(self.root / b for b in ("src", "include", "", "tests"))):
            path = (base / name).resolve()
            if path.is_file() and path.is_relative_to(self.root):
                return path.relative_to(self.root)
        return None

    def may_include(self, source: pathlib.PurePath, target: pathlib.PurePath) -> bool:
        mine, theirs = self.rooms(source), self.rooms(target)
        if not mine or not theirs or mine[0] == theirs[0]:
            return True
        allowed = set().union(*(self.arrows[room] for room in mine))
        if mine[-1] == theirs[-1]:  # within one folder: only from room to room
            return theirs[0] == mine[-1] or theirs[0] in allowed or mine[0] == mine[-1]
        return ALL in allowed or not allowed.isdisjoint(theirs)


def main(root: pathlib.Path) -> int:
    tree = Tree(root)
    wrong = list(tree.missing())
    checked = 0
    for source in tree.sources():
        checked += 1
        for name in INCLUDE.findall((root / source).read_text(encoding="utf-8")):
            target = tree.target(source, name)
            if target is not None and not tree.may_include(source, target):
                wrong.append(f"{source}: includes {name}: {tree.rooms(source)[0]} may not include {tree.rooms(target)[0]}")
    for line in wrong:
        print(line)
    print(f"{checked} files checked against {len(tree.arrows)} arrows, {len(wrong)} faults")
    return 1 if wrong or checked == 0 else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]).resolve()))
