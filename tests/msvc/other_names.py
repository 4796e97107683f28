"""A script for the linker that gives functions and variables of Microsoft's ABI the names that g++'s objects call them by.

other_names.py NM SCRIPT WANTING... -- GIVING...    objects and archives that want names, and objects that have them
Names that nobody gives are left to the linker.
"""
import pathlib
import re
import subprocess
import sys


def from_gnu(symbol):
    """What the source calls it. A variable is called as its symbol is; of templates there are none in question."""
    start = re.match(r"_Z(TV)?(?:NK?)?(?=\d)", symbol)
    if not start:
        return symbol
    names, rest = [], symbol[start.end():]
    while length := re.match(r"\d+", rest):
        end = length.end() + int(length[0])
        names.append(rest[length.end():end])
        rest = rest[end:]
    if rest[:2] in ("C1", "C2"):
        names.append(names[-1])
    elif rest[:2] in ("D1", "D2"):
        names.append("~" + names[-1])
    return "::".join(names + ["table"] * bool(start[1]))


def from_microsoft(symbol):
    """The same, None for what has no such name."""
    parts = re.match(r"\?(\?0|\?1|\?_7)?([A-Za-z_]\w*(?:@[A-Za-z_]\w*)*)@@", symbol)
    if not parts:
        return None
    names = parts[2].split("@")[::-1]
    special = {None: [], "?0": [names[-1]], "?1": ["~" + names[-1]], "?_7": ["table"]}[parts[1]]
    return "::".join(names + special)


def main():
    nm, script = sys.argv[1:3]
    middle = sys.argv.index("--")

    def symbols(files):
        told = subprocess.run([nm, "-g", *files], capture_output=True, text=True, check=True).stdout
        return re.findall(r"^\s*(?:[0-9a-f]+)? ([A-Za-z]) (\S+)$", told, re.MULTILINE)

    given = {}
    for kind, symbol in symbols(sys.argv[middle + 1:]):
        if kind != "U" and (name := from_microsoft(symbol)):
            given.setdefault(name, set()).add(symbol)
    seen = symbols(sys.argv[3:middle])
    wanted = {symbol for kind, symbol in seen if kind == "U"} - {symbol for kind, symbol in seen if kind != "U"}
    lines = []
    for symbol in sorted(wanted):
        name = from_gnu(symbol)
        if len(given.get(name, [])) > 1:
            sys.exit(f"{symbol} may be any of {sorted(given[name])}")
        for other in given.get(name, []):
            # g++'s table begins with two words more.
            lines.append(f'{symbol} = "{other}"{" - 16" * name.endswith("::table")};\n')
    pathlib.Path(script).write_text("".join(lines), encoding="utf-8")


main()
