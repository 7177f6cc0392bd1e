"""The shared library shows what the installed headers declare, and nothing else.

usage: check_exports.py check <libliomol.so> <header>...   every symbol that leaves the library is declared
       check_exports.py probe <output.cpp> <header>...     writes a program that links only when every
                                                           declared call and class leaves the library
"""
import pathlib
import re
import subprocess
import sys

C_CALL = re.compile(r"\bGBE_API\s[^;(]*?\b(\w+)\s*\(")
FREE_FUNCTION = re.compile(r"\bLIOMOL_API\s(?!class)[^;(]*?\b(\w+)\s*\(")
CLASS = re.compile(r"\bclass\s+LIOMOL_API\s+(\w+)[^;{]*\{")
MEMBER = re.compile(r"(?<![\w:~.>])([A-Za-z_]\w*)\s*\(")
MADE_BY_MOC = {"staticMetaObject", "metaObject", "qt_metacast", "qt_metacall", "qt_static_metacall"}
SYMBOL = re.compile(
    r"(?:(?:typeinfo|typeinfo name|vtable) for |(?:non-)?virtual thunk to )?tavo::(\w+)(?:::~?(\w+))?\b"
)


def public_part(text, begin):
    """The body of a class whose opening bracket is before `begin`, up to what is private."""
    depth, end = 1, begin
    while depth > 0:
        depth += {"{": 1, "}": -1}.get(text[end], 0)
        end += 1
    return re.split(r"\b(?:private|protected)\s*:", text[begin : end - 1])[0]


class Declared:
    def __init__(self, headers):
        self.headers = [pathlib.Path(header) for header in headers]
        self.calls, self.functions, self.classes = set(), set(), {}
        for header in self.headers:
            text = re.sub(r"/\*.*?\*/|//[^\n]*|^\s*#[^\n]*", "", header.read_text("utf-8"), flags=re.DOTALL | re.MULTILINE)
            self.calls |= set(C_CALL.findall(text))
            for found in CLASS.finditer(text):
                body = public_part(text, found.end())
                members = set(MEMBER.findall(body)) - {"decltype", "Q_ENUM", found[1]}
                self.classes[found[1]] = members | (MADE_BY_MOC if "Q_OBJECT" in body else set())
            self.functions |= set(FREE_FUNCTION.findall(re.sub(CLASS, "", text)))
        if len(self.calls) < 40 or len(self.classes) < 40 or not self.functions:
            sys.exit("too little was found: are these the installed headers?")

    def knows(self, symbol):
        found = SYMBOL.match(symbol)
        if not found:
            return symbol in self.calls
        name, member = found.groups()
        if name not in self.classes:
            return member is None and name in self.functions
        return member is None or member == name or member in self.classes[name]


def check(library, declared):
    lines = subprocess.run(
        ["nm", "--dynamic", "--defined-only", "--demangle", "--without-symbol-versions", library], check=True, capture_output=True, text=True
    ).stdout.splitlines()
    shown = sorted({line.split(maxsplit=2)[2] for line in lines if " A " not in line})  # A: a version's name
    faults = [symbol for symbol in shown if not declared.knows(symbol)]
    for symbol in faults:
        print(f"{symbol} is exported and not declared")
    print(f"{len(lines)} symbols are exported, {len(shown)} by name")
    return 1 if faults else 0


PROBE = """// Made by check_exports.py.
{includes}
#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace {{

const volatile void* volatile sink;
template<typename Thing> void use(const Thing& thing) {{ sink = &thing; }}

template<typename Class, typename... Arguments> void make(Arguments... arguments) {{
    if constexpr (!std::is_abstract_v<Class> && std::is_constructible_v<Class, Arguments...>) {{
        use(*std::make_unique<Class>(arguments...));
    }}
}}

template<typename Class> void useClass(Class* none) {{
    use(typeid(Class));
    make<Class>();
    make<Class>(std::string());
    make<Class>(std::string(), 0);
    make<Class>(QString());
    if (none != nullptr) {{
        none->Class::~Class();
    }}
}}

}} // namespace

int main(int argc, char**) {{
{uses}
    return argc > 1 ? 1 : 0;
}}
"""


def probe(output, declared):
    uses = [f"use(&{call});" for call in sorted(declared.calls)]
    uses += [f"use(&tavo::{function});" for function in sorted(declared.functions)]
    for name, members in sorted(declared.classes.items()):
        uses.append(f"useClass<tavo::{name}>(nullptr);")
        uses += [f"use(&tavo::{name}::{member});" for member in sorted(members - MADE_BY_MOC)]
        uses += [f"use(tavo::{name}::staticMetaObject);"] if "staticMetaObject" in members else []
    includes = "\n".join(f'#include "liomol/{header.name}"' for header in declared.headers)
    pathlib.Path(output).write_text(
        PROBE.format(includes=includes, uses="\n".join("    " + use for use in uses)), "utf-8"
    )
    return 0


if __name__ == "__main__":
    mode, target, *headers = sys.argv[1:]
    sys.exit({"check": check, "probe": probe}[mode](target, Declared(headers)))
