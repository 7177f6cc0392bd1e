"""What programs that were linked with the library rely on, beside the list of it in the tree: the symbols that it
exports, the numbers of enumerators, and how the C structures lie in memory.

usage: check_abi.py probe <output.c> <compiler> <header>...     writes a program that prints what the headers fix
       check_abi.py check <list> <library> <probe> [--update]   compares; --update writes the list instead
"""
import pathlib
import re
import subprocess
import sys

RECORD = re.compile(r"\b(struct|enum)\s*\w*\s*\{([^{}]*)\}\s*(\w*)\s*;")
CALL = re.compile(r"((?:\w[\w\s]*?[\s*]+))(\w+)\s*\(((?:[^()]|\([^()]*\))*)\)\s*;")
FIELD = re.compile(r"(?:\(\s*\*\s*(\w+)\s*\)\s*\([^()]*\)|(\w+)(?:\s*\[[^\]]*\])*)\s*$")
EVERYWHERE = ("enumerator ", "call ")  # the rest depends on how wide a pointer is
ADVICE = """What is new is added to the list by: python3 {command} --update
Nothing that a released version has may go or change unless LIOMOL_SOVERSION is raised (CONTRIBUTING.md)."""


def own_text(compiler, headers):
    """What the C headers say to a compiler, without what they include."""
    names = [pathlib.Path(header).name for header in headers]
    source = "".join(f'#include "liomol/{name}"\n' for name in names)
    root = str(pathlib.Path(headers[0]).parent.parent)
    command = [compiler, "-E", "-I", root, "-xc", "-"]
    text = subprocess.run(command, input=source, check=True, capture_output=True, text=True)
    lines, own = [], False
    for line in text.stdout.splitlines():
        marker = re.match(r'# \d+ "([^"]*)"', line)
        if marker:
            own = "/liomol/" in marker[1]
        elif own:
            lines.append(line)
    return "\n".join(lines)


def type_of(parameter):
    """Of a parameter with its name; one without stays as it is."""
    return re.sub(r"\s*\b\w+$", "", parameter) if re.search(r"[\s*]\w+$", parameter) else parameter


def probe(output, compiler, *headers):
    plain = [header for header in headers if "namespace" not in pathlib.Path(header).read_text("utf-8")]
    headers = plain or sys.exit("no C headers: are these the installed ones?")
    prints, text = [], own_text(compiler, headers)
    for result, name, parameters in CALL.findall(re.sub(r"__attribute__\s*\(\(.*?\)\)\)?|\bextern\b", "", text)):
        types = ", ".join(type_of(each.strip()) for each in parameters.split(","))
        prints.append(f'puts("call {" ".join(result.split())} {name}({types})");')
    for kind, body, name in RECORD.findall(text):
        if kind == "enum":
            for enumerator in re.findall(r"\b([A-Za-z_]\w*)\s*(?:=[^,]*)?(?:,|$)", body.strip()):
                prints.append(f'printf("enumerator {enumerator} %lld\\n", (long long){enumerator});')
            continue
        prints.append(f'printf("structure {name} size %zu\\n", sizeof({name}));')
        for field in filter(str.strip, body.split(";")):
            member = "".join(FIELD.search(field).groups(""))
            place = f"offsetof({name}, {member}), sizeof((({name}*)0)->{member})"
            prints.append(f'printf("structure {name}.{member} at %zu size %zu\\n", {place});')
    includes = "".join(f'#include "liomol/{pathlib.Path(header).name}"\n' for header in headers)
    body = "\n    ".join(['printf("pointer %zu\\n", sizeof(void*));'] + prints)
    main = f"int main(void) {{\n    {body}\n    return 0;\n}}\n"
    pathlib.Path(output).write_text(f"{includes}#include <stddef.h>\n#include <stdio.h>\n\n{main}")
    return 0


def check(listed, library, program, update=None):
    lines = subprocess.run([program], check=True, capture_output=True, text=True).stdout.splitlines()
    pointer = lines.pop(0)
    listing = ["nm", "--dynamic", "--defined-only", library]
    for line in subprocess.run(listing, check=True, capture_output=True, text=True).stdout.splitlines():
        _, kind, name = line.split(maxsplit=2)
        if kind != "A" and name.startswith("_Z"): # calls are there as they are declared: api_exports compares the two
            lines.append("c++ " + name)
    if update:
        pathlib.Path(listed).write_text("".join(line + "\n" for line in sorted(lines)))
        return 0
    now, before = set(lines), set(pathlib.Path(listed).read_text().splitlines())
    if pointer != "pointer 8":
        now, before = ({line for line in some if line.startswith(EVERYWHERE)} for some in (now, before))
    for line in sorted(before - now):
        print(f"gone: {line}")
    for line in sorted(now - before):
        print(f"not in the list yet: {line}")
    if now != before:
        print(ADVICE.format(command=" ".join(sys.argv)))
    return 1 if before - now else 0  # what is new harms nobody


if __name__ == "__main__":
    sys.exit({"probe": probe, "check": check}[sys.argv[1]](*sys.argv[2:]))
