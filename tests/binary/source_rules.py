#!/usr/bin/env python3
"""Which folder may include which, and what the code of the service and of the host library never uses, or uses in one
place.

Usage: source_rules.py ROOT              checks the tree, one line for each breach
       source_rules.py --self-test ROOT  shows that every rule finds its example, and the table every arrow turned round

The arrows of docs/diagrams/layers.dot are the table of the layers: a folder includes from itself and from every folder
that its arrows lead to. Each other rule says why. Comments and texts in quotes are not looked at.
"""
import pathlib
import re
import sys

PRODUCT = ["base", "host", "store", "config", "bridge", "service"]
LIBRARIES = PRODUCT + ["hostlib"]
FOLDERS = LIBRARIES + ["include"]
EVERYWHERE = FOLDERS + ["doctor", "bind", "train", "examples", "benchmarks", "tests"]
DIAGRAM = "docs/diagrams/layers.dot"


# What is included by another name than its folder's.
HOMES = {"qvjvm": "include", "common": "examples", "fo2pdf": "examples", "jdbc": "examples",
         "java": "examples", "org": "examples"}  # headers that qvjvm-bind writes


class Layers:
    """The arrows of the drawing, and what can be reached along them."""

    def __init__(self, drawing):
        self.arrows = {}
        for line in drawing.split("\n"):
            if match := re.fullmatch(r"\s*(\w+) -> (\w+)\s*", line):
                self.arrows.setdefault(match[1], set()).add(match[2])
                self.arrows.setdefault(match[2], set())
            elif "->" in line.split("//")[0]:
                raise ValueError(f"{DIAGRAM}: an arrow that this check does not understand: {line.strip()}")

    def below(self, folder):
        reached, ahead = set(), set(self.arrows[folder])
        while ahead:
            reached |= ahead
            ahead = {end for start in ahead for end in self.arrows[start]} - reached
        return reached

    def circles(self):
        return [f"{DIAGRAM}: the arrows lead from {folder} back to {folder}"
                for folder in self.arrows if folder in self.below(folder)]

    def breaches_of(self, path, code):
        folder = path.split("/")[0]
        allowed = self.below(folder) | {folder}
        found = []
        for number, line in enumerate(code.split("\n"), 1):
            match = re.match(r'\s*#\s*include\s+"([^"/]+)/', line)  # a file without a folder lies beside this one
            if match and HOMES.get(match[1], match[1]) not in allowed:
                found.append(f"line {number}: {line.strip()}: {folder}/ includes from {', '.join(sorted(allowed))} alone")
        return found


class Rule:
    def __init__(self, folders, pattern, example, why, except_in=()):
        self.folders, self.pattern, self.example, self.why = folders, re.compile(pattern), example, why
        self.except_in = except_in


RULES = [
    # -- memory and text --
    Rule(LIBRARIES, r"\b(str|wcs|lstr|l?StrN?)(cpy|cat)[AW]?\s*\(", "wcscpy(out, text);",
         "an unbounded copy; use qv::CopyBounded or HostText"),
    Rule(LIBRARIES, r"\b(v?sn?w?printf_s|v?sprintf|wvsprintf[AW]?|gets)\s*\(", "sprintf(out, format);",
         "an unbounded format; snprintf and HostText know their room"),
    Rule(LIBRARIES, r"\bv?swprintf\s*\(", "swprintf(out, 8, format);",
         "libraries differ in what they leave behind when it does not fit", except_in=["service/error_record.cpp"]),
    Rule(LIBRARIES, r"\bwsprintf[AW]?\s*\(", "wsprintfW(out, pattern);",
         "bounded at 1024 units and no less", except_in=["store/messages.cpp"]),
    Rule(LIBRARIES, r"\b(malloc|calloc|realloc|strdup|_wcsdup|free)\s*\(", "void* p = malloc(8);",
         "memory is the host library's, so that host and service can free each other's"),
    Rule(LIBRARIES, r"\bnew\s+(?!\()[A-Za-z_:]+\s*\[", "auto* p = new wchar_t[8];",
         "memory is the host library's; use qv::AllocHostArray"),
    Rule(LIBRARIES, r"\bstd::(w?string|vector|w?ostringstream|w?stringstream|map|set|list|deque|function|any|"
         r"unordered_\w+|shared_ptr|make_unique|make_shared|filesystem|format)\b(?!_view)", "std::vector<int> v;",
         "allocates on the global heap and throws"),
    Rule(LIBRARIES, r"#\s*include\s*<(string|vector|map|set|list|deque|functional|iostream|sstream|fstream|"
         r"filesystem|format|memory_resource|regex|locale)>", "#include <vector>",
         "brings what allocates on the global heap and throws"),
    # -- layers within a layer --
    Rule(["bridge"], r"#\s*include\s*\"service/(?!(java_vm_manager|jvm_state|capture_mark|output_log)\.h\")",
         '#include "service/thread_registry.h"', "the bridge knows the chief headers of the service and no others"),
    # -- exceptions --
    Rule(LIBRARIES, r"\b(throw|try|catch)\b", "throw 1;",
         "no exception may leave an operation, so none is raised; failures are values"),
    # -- threads and the loader lock --
    Rule(LIBRARIES, r"\bthread_local\b|__declspec\s*\(\s*thread\s*\)", "thread_local int n;",
         "its destructor runs under the loader lock; use qv::ThreadSlot"),
    Rule(LIBRARIES, r"\bstd::(thread|jthread|mutex|recursive_mutex|condition_variable|async|future|call_once)\b",
         "std::mutex m;", "needs a runtime that the DLL does not carry; use base/lock.h"),
    Rule(LIBRARIES, r"\b(TerminateThread|SuspendThread|DisableThreadLibraryCalls)\s*\(", "TerminateThread(h, 0);",
         "a thread that runs Java is never killed, and the static runtime needs its thread notifications"),
    Rule(PRODUCT, r"\bSleep(Ex)?\s*\(", "Sleep(10);", "the service waits for nothing"),
    Rule(PRODUCT, r"\bFlsFree\s*\(", "FlsFree(slot);", "runs every thread's callback on the caller",
         except_in=["service/thread_end.cpp"]),
    Rule(PRODUCT, r"\bDestroyJavaVM\b", "vm->DestroyJavaVM();", "the JVM lives as long as the process"),
    # -- each effect in its place --
    Rule(PRODUCT, r"\bReg[A-Z]\w+\s*\(|\bSHGetValue|\bSHSetValue", "RegOpenKeyExW(hive, path);",
         "the registry is reached through the host library, and only read"),
    Rule(["hostlib"], r"\bReg(Set|Create|Delete|Replace|Restore|Save|Load|Rename)\w*\s*\(", "RegSetValueExW(key);",
         "the registry is only read"),
    Rule(PRODUCT, r"\bSetEnvironmentVariable[AW]?\b|\b_?w?putenv(_s)?\b", "SetEnvironmentVariableW(name, value);",
         "PATH is the one variable that is written, in one file", except_in=["config/runtime_locate.cpp"]),
    Rule(PRODUCT, r"\bMessageBox\w*\s*\(", "MessageBoxW(nullptr, text, title, 0);",
         "one place shows messages", except_in=["store/messages.cpp"]),
    Rule(PRODUCT, r"\b(_?w?fopen(_s)?|CreateFile[AW2]?|ofstream)\s*\(", "_wfopen(path, mode);",
         "the JVM output log and the trace are the only files", except_in=["service/output_log.cpp", "base/trace.cpp"]),
    Rule(PRODUCT, r"\bGetProcAddress\s*\(", "GetProcAddress(module, name);",
         "one template types function pointers", except_in=["base/procedure.h"]),
    Rule(PRODUCT, r"\b__(try|except|finally|try1|except1)\b", "__try {",
         "one guard, around one call", except_in=["base/seh_guard.cpp"]),
    Rule(PRODUCT, r"\b(_MSC_VER|__GNUC__|__MINGW32__|__clang__)\b", "#if defined(_MSC_VER)",
         "what one compiler understands has one place", except_in=["base/compiler.h"]),
    Rule(EVERYWHERE, r"\b(__attribute__|__builtin_\w+|__asm__|__forceinline|_ReturnAddress)\b", "__attribute__((noinline)) void f();",
         "a word of one compiler; base/compiler.h has it for all of them",
         except_in=["base/compiler.h", "hostlib/backend.h", "include/qvjvm/client/realm.hpp", "tests/msvc/library.cpp"]),
    Rule(PRODUCT, r"\b(printf|puts|OutputDebugString[AW]?)\s*\(|\bstd::(cout|cerr|wcout)\b", "printf(text);",
         "the service never writes to its host's output", except_in=["base/trace.cpp"]),
    # -- the binary interface --
    Rule(FOLDERS, r"\bvirtual\s+~", "virtual ~IQvString();",
         "two table entries with one compiler, one with another; use an ordinary Destroy"),
]


def without_comments_and_texts(code):
    """The code with comments and the insides of quotes blanked, line breaks kept."""
    token = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'', re.S)

    def blank(match):
        text = match.group(0)
        if re.search(r"#\s*include\s*$", code[:match.start()].rsplit("\n", 1)[-1]):
            return text  # the quotes of an include are no text
        if text[0] == "/":
            return "\n" * text.count("\n") or " "
        return text[0] + text[0]

    return token.sub(blank, code)


def breaches_of(path, code):
    """What a file of this relative path and content does against the rules."""
    folder = path.split("/")[0]
    found = []
    plain = without_comments_and_texts(code)
    for rule in RULES:
        if folder not in rule.folders or path in rule.except_in:
            continue
        for number, line in enumerate(plain.split("\n"), 1):
            if rule.pattern.search(line):
                found.append(f"line {number}: {line.strip()}: {rule.why}")
    if folder in FOLDERS and path.endswith((".h", ".hpp")) and "#pragma once" not in code and "#ifndef QVJVM_" not in code:
        found.append("a header without a guard")
    return found


def check_tree(root, layers):
    seen = 0
    found = layers.circles() + [f"{DIAGRAM}: nothing about {folder}" for folder in FOLDERS if folder not in layers.arrows]
    for folder in sorted(set(layers.arrows) | set(EVERYWHERE)):
        for file in sorted((root / folder).rglob("*")):
            if file.suffix in (".h", ".hpp", ".cpp", ".c", ".rc"):
                seen += 1
                path, code = file.relative_to(root).as_posix(), file.read_text(encoding="utf-8")
                arrows = layers.breaches_of(path, code) if folder in layers.arrows else []
                found += [f"{path}: {breach}" for breach in arrows + breaches_of(path, code)]
    for rule in RULES:
        found += [f"{path}: an exception of a rule, but not there" for path in rule.except_in
                  if not (root / path).is_file()]
    if seen < 80:
        found.append(f"{root}: only {seen} source files were found")
    return found


def self_test(layers):
    failures = []

    def expect(what, path, code, wanted):
        found = breaches_of(path, "#pragma once\n" + code)
        if bool(found) != wanted:
            failures.append(f"{what}: {'nothing found' if wanted else found}")

    for rule in RULES:
        path = f"{rule.folders[0]}/some_file.cpp"
        if not any(rule.why in breach for breach in breaches_of(path, rule.example)):
            failures.append(f"the rule \"{rule.why}\" does not find its example: {rule.example}")
        expect(f"{rule.why}: in a comment", path, f"// {rule.example}\n/* {rule.example} */", False)
        if '"' not in rule.example and "#" not in rule.example:
            expect(f"{rule.why}: in a text", path, f'Show("{rule.example}");', False)
        for exempt in rule.except_in:
            if any(rule.why in breach for breach in breaches_of(exempt, rule.example)):
                failures.append(f"{rule.why}: {exempt} is no exception")
    expect("a view of a text", "store/x.cpp", "std::wstring_view text;", False)
    expect("an owner of a host block", "store/x.cpp", "std::unique_ptr<T, HostFree> block;", False)
    expect("class-level allocation", "service/x.cpp", "*out = new CQV_JNIVMManager();", False)
    if not breaches_of("base/x.h", "int x;"):
        failures.append("a header without a guard is not found")

    def expect_include(folder, other, allowed):
        if bool(layers.breaches_of(f"{folder}/x.cpp", f'#include "{other}/y.h"')) == allowed:
            failures.append(f"{folder} {'may' if allowed else 'may not'} include from {other}")

    for folder in layers.arrows:
        for lower in layers.below(folder):
            expect_include(folder, lower, True)
            expect_include(lower, folder, False)
        expect_include(folder, "tests", False)
    if not Layers("a -> b\nb -> c\nc -> a").circles():
        failures.append("arrows in a circle are not found")
    return failures


def main():
    root = pathlib.Path(sys.argv[-1])
    layers = Layers((root / DIAGRAM).read_text(encoding="utf-8"))
    breaches = self_test(layers) if "--self-test" in sys.argv else check_tree(root, layers)
    for breach in breaches:
        print(breach)
    print(f"{len(breaches)} breaches" if breaches else "no breach")
    return 1 if breaches else 0


if __name__ == "__main__":
    sys.exit(main())
