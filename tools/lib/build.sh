# shellcheck shell=bash
# Configures and builds a preset. Needs common.sh and packages.sh.

# What a configured build folder depends on besides the CMake files, which Ninja watches itself.
configure_inputs() {
  printf '%s\n' "$qv_root" "$qv_runtimes" "$qv_jars" "$(find_jdk)"
  cat "$qv_root/CMakePresets.json"
}

configure_preset() {
  local preset=$1 folder=$qv_build/$1 stamp
  stamp=$(configure_inputs | sha256sum)
  [ -f "$folder/build.ninja" ] && [ "$(cat "$folder/.configured" 2>/dev/null)" = "$stamp" ] && return
  mkdir -p "$folder"
  (cd "$qv_root" && JAVA_HOME=$(find_jdk) run_logged "$qv_build/logs/configure-$preset.log" cmake --preset "$preset" \
    "-DQV_RUNTIMES_DIR=$qv_runtimes" "-DQV_JARS_DIR=$qv_jars") ||
    fail "configuring the preset $preset failed; see the output above"
  printf '%s\n' "$stamp" >"$folder/.configured"
}

# Prints how far a build or a test run is, from the last lines of its log.
progress_of() {
  tail -n 50 "$1" 2>/dev/null | sed -n -E 's/^ *\[?([0-9]+)\/([0-9]+)(\]| Test).*/\1 of \2/p' | tail -n 1
}

# Usage: build_preset PRESET [TARGET...]
build_preset() {
  local preset=$1 log=$qv_build/logs/build-$1.log
  shift
  configure_preset "$preset"
  (cd "$qv_root" && run_watched "$log" cmake --build --preset "$preset" ${1:+--target "$@"}) ||
    fail "building the preset $preset failed; see the output above"
}
