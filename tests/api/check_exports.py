"""The shared library shows every call of its C header, the tavo classes, and nothing else.

usage: check_exports.py <libliomol.so> <gige.h>
"""
import re
import subprocess
import sys

HOOKS = {"ipdprintf", "log_packet"}
TAVO = re.compile(r"(?:(?:typeinfo|typeinfo name|vtable|VTT) for |(?:non-)?virtual thunk to )?tavo::")


def exported(library):
    lines = subprocess.run(
        ["nm", "--dynamic", "--defined-only", "--demangle", library], check=True, capture_output=True, text=True
    ).stdout.splitlines()
    return {line.split(maxsplit=2)[2] for line in lines}


def declared(header):
    with open(header, encoding="utf-8") as file:
        text = re.sub(r"/\*.*?\*/", "", file.read(), flags=re.DOTALL)
    return set(re.findall(r"\b(Gbe_\w+|copyCameraInfo|lprintf)\s*\(", text))


def main():
    library, header = sys.argv[1:]
    shown = exported(library)
    calls = declared(header)
    faults = [f"{name} is declared and not exported" for name in sorted(calls - shown)]
    faults += [
        f"{name} is exported and not documented"
        for name in sorted(shown - calls - HOOKS)
        if not TAVO.match(name)
    ]
    if len(calls) < 20 or not any(name.startswith("tavo::") for name in shown):
        faults.append("too little was found: is this the library and its header?")
    print("\n".join(faults))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
