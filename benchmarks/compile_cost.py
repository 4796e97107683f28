#!/usr/bin/python3
"""Compiles a host of 50 different calls, written with the client and by hand, and tells seconds and KiB of each.

The hand-written one looks its classes and ids up once, checks for exceptions and owns its references, as the client does.
Usage: benchmarks/compile_cost.py COMPILER [OPTION...]
"""
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
ROUNDS = 5
# Result, letter, JNI's name of it, and five lists of arguments: fifty signatures.
RESULTS = [("int32_t", "I", "Int"), ("int64_t", "J", "Long"), ("bool", "Z", "Boolean"), ("double", "D", "Double"),
           ("void", "V", "Void"), ("int16_t", "S", "Short"), ("int8_t", "B", "Byte"), ("float", "F", "Float"),
           ("char16_t", "C", "Char"), ("std::wstring", "Ljava/lang/String;", "Object")]
ARGUMENTS = [[], [("7", "I")], [("L\"text\"", "Ljava/lang/String;")], [("7", "I"), ("L\"text\"", "Ljava/lang/String;")],
             [("1.5", "D"), ("true", "Z")]]


def calls():
    for number, (result, arguments) in enumerate((r, a) for r in RESULTS for a in ARGUMENTS):
        yield f"method{number}", result, arguments


def with_client():
    lines = ['#include "qvjvm/qvjvm.hpp"', 'using thing = qvjvm::instance<"com/example/Thing">;']
    for name, (result, _, _), arguments in calls():
        given = ", ".join(value for value, _ in arguments)
        lines.append(f'{result} {name}(const thing& on) {{ return on.call<"{name}", {result}>({given}); }}')
    return "\n".join(lines)


def by_hand():
    lines = ["#include <jni.h>", "#include <stdexcept>", "#include <string>", """
std::wstring text_of(JNIEnv* env, jstring string) {
  const jsize length = env->GetStringLength(string);
  std::wstring text(static_cast<size_t>(length), L'\\0');
  env->GetStringRegion(string, 0, length, reinterpret_cast<jchar*>(text.data()));
  env->DeleteLocalRef(string);
  return text;
}
void fail(JNIEnv* env) {
  env->ExceptionClear();
  throw std::runtime_error("Java");
}
jclass thing(JNIEnv* env) {
  static const jclass cls = static_cast<jclass>(env->NewGlobalRef(env->FindClass("com/example/Thing")));
  return cls;
}"""]
    for name, (result, letter, jni), arguments in calls():
        signature = "(" + "".join(sign for _, sign in arguments) + ")" + letter
        body = [f'  static const jmethodID id = env->GetMethodID(thing(env), "{name}", "{signature}");']
        given = ""
        for place, (value, sign) in enumerate(arguments):
            if sign.startswith("L"):
                body.append(f"  const jstring text{place} = env->NewString(reinterpret_cast<const jchar*>({value}), 4);")
                body.append("  if (env->ExceptionCheck()) fail(env);")
                value = f"text{place}"
            given += f", {value}"
        call = f"env->Call{jni}Method(on, id{given})"
        body.append(f"  {call};" if result == "void" else f"  const auto result = {call};")
        body += [f"  env->DeleteLocalRef(text{place});" for place, (_, sign) in enumerate(arguments) if sign.startswith("L")]
        body.append("  if (env->ExceptionCheck()) fail(env);")
        if result == "std::wstring":
            body.append("  return text_of(env, static_cast<jstring>(result));")
        elif result != "void":
            body.append(f"  return static_cast<{result}>(result);")
        lines.append(f"{result} {name}(JNIEnv* env, jobject on) {{\n" + "\n".join(body) + "\n}")
    return "\n".join(lines)


def compile_text(text, command, folder):
    source, result = Path(folder, "host.cpp"), Path(folder, "host.o")
    source.write_text(text, encoding="utf-8")
    begin = time.monotonic()
    subprocess.run([*command, "-c", source, "-o", result], check=True)
    seconds = time.monotonic() - begin
    sections = subprocess.run(["size", "-A", result], check=True, capture_output=True, text=True).stdout.splitlines()
    code = sum(int(line.split()[1]) for line in sections if line.startswith((".text", ".rdata", ".data", ".bss")))
    return seconds, code / 1024


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    command = [*sys.argv[1:], "-std=c++20", "-O2", f"-I{ROOT / 'include'}"]
    told = []
    for text in (with_client(), by_hand(), '#include "qvjvm/qvjvm.hpp"'):
        with tempfile.TemporaryDirectory() as folder:
            measured = [compile_text(text, command, folder) for _ in range(ROUNDS)]
        told += [statistics.median(seconds for seconds, _ in measured), measured[0][1]]
    version = subprocess.run([command[0], "-dumpfullversion"], check=True, capture_output=True, text=True).stdout
    client_s, client_kib, hand_s, hand_kib, headers_s, _ = told
    print(f"A host of 50 different calls compiles in {client_s:.1f} s to {client_kib:.0f} KiB with the client, in "
          f"{hand_s:.1f} s to {hand_kib:.0f} KiB by hand; the client's headers alone, those of Windows among them, take "
          f"{headers_s:.1f} s (g++ {version.split('-')[0].strip()}, -O2).")


main()
