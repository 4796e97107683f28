#!/usr/bin/env python3
"""Lists what the service may call outside itself, from its objects and its sources: a line "<kind> <name>" for each.

Usage: outside_calls.py ROOT JNI_INCLUDE NM OUTPUT OBJECT...
  symbol    what its objects need and none of them has
  jni       a function of JNI's table that a source names behind "->", "." or "JNIEnv::"
  vm        a function of the JavaVM's table, likewise
  found     a function that is looked up by name
  object    an operation of the host library's objects
"""
import re
import subprocess
import sys
from pathlib import Path

FOLDERS = ("base", "bridge", "config", "host", "service", "store")


def read_code(path):
    """The text without its comments."""
    text = path.read_text(encoding="utf-8", errors="replace")
    return re.sub(r"//[^\n]*|/\*.*?\*/", "", text, flags=re.S)


def symbols(nm, objects):
    needed, present = set(), set()
    output = subprocess.run([nm, *objects], capture_output=True, text=True, check=True).stdout
    for line in output.splitlines():
        words = line.split()
        if len(words) == 2 and words[0] == "U":
            needed.add(words[1])
        elif len(words) == 3 and words[1] in "TtDdBbRrWVvwSs":
            present.add(words[2])
    # A reference to a pseudo-relocated object stands for the object.
    strip = ("__imp_", ".refptr.")
    names = set()
    for name in needed - present:
        for prefix in strip:
            name = name.removeprefix(prefix)
        names.add(name)
    return names - present


def struct_functions(header, struct):
    body = re.search(r"struct " + struct + r" \{(.*?)\n\};", header, flags=re.S)[1]
    return set(re.findall(r"\(JNICALL \*(\w+)\)", body))


def named(code, functions, pattern):
    return {name for name in functions if re.search(pattern.replace("NAME", name), code)}


def main():
    root, include, nm, output, *objects = sys.argv[1:]
    root = Path(root)
    code = "\n".join(
        read_code(path) for folder in FOLDERS for path in sorted((root / folder).iterdir()) if path.suffix in (".cpp", ".h"))
    jni = (Path(include) / "jni.h").read_text(encoding="utf-8")
    lines = {f"symbol {name}" for name in symbols(nm, objects)}
    lines |= {f"jni {name}" for name in named(
        code, struct_functions(jni, "JNINativeInterface_"), r"(->|\.|JNIEnv::)\s*NAME\b")}
    # The initializer has a GetEnv of its own, without arguments.
    table = struct_functions(jni, "JNIInvokeInterface_")
    lines |= {f"vm {name}" for name in named(code, table - {"GetEnv"}, r"(->|\.|JavaVM::)\s*NAME\b")}
    lines |= {f"vm {name}" for name in named(code, table & {"GetEnv"}, r"(->|\.|JavaVM::)\s*NAME\s*\(\s*[^\s)]")}
    lines |= {f"found {name}" for name in re.findall(r'FindProcedure<[^;]*?"(\w+)"\s*\)', code)}
    found = len(re.findall(r"\bGetProcAddress\b", code))
    if found != 1:
        sys.exit(f"GetProcAddress is named {found} times: functions may be found elsewhere than in FindProcedure")
    keys = re.search(r"struct IQvRegKey \{(.*?)\n\};", read_code(root / "host/qvshr.h"), flags=re.S)[1]
    lines |= {f"object IQvRegKey::{name}" for name in re.findall(r"virtual \w+ (\w+)\(", keys)}
    texts = read_code(root / "include/qvjvm/qvjvm.h").split("QV_TABLE_BEGIN(IQvString)")[1].split("QV_TABLE_END")[0]
    lines |= {f"object IQvString::{name}" for name in re.findall(r"QV_METHOD\([^,]*, (\w+)\)", texts)}
    lines = {line for line in lines if "::Reserved" not in line}
    for kind in ("symbol", "jni", "vm", "found", "object"):
        if not any(line.startswith(kind + " ") for line in lines):
            sys.exit(f"nothing of the kind {kind} was found")
    Path(output).write_text("\n".join(sorted(lines)) + "\n", encoding="utf-8", newline="\n")


main()
