# shellcheck shell=bash
# Configures, builds and tests a preset. Needs common.sh and packages.sh.

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
    -DCMAKE_EXPORT_COMPILE_COMMANDS=ON "-DQV_RUNTIMES_DIR=$qv_runtimes" "-DQV_JARS_DIR=$qv_jars") ||
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

# Runs the tests of a built preset; which of them failed is for the report to say. A test that failed while Wine could
# not start a program (see wine.sh) runs once more, into REPORT.again.
# Usage: run_tests PRESET REPORT [CTEST-OPTION...]
run_tests() {
  local preset=$1 report=$2 log=$qv_build/logs/test-$1.log status=0 unstarted
  shift 2
  rm -f "$report" "$report.again"
  (cd "$qv_root" && watch_log "$log" ctest --preset "$preset" --output-junit "$report" "$@") || status=$?
  case $status in 0 | 8) ;; *) rm -f "$report" ;; esac
  if [ ! -f "$report" ]; then
    tell_failure "$log" "$status" ctest --preset "$preset"
    fail "the tests did not run to their end; see the output above"
  fi
  unstarted=$("$qv_root/tools/test-verdict" --unstarted "$report")
  if [ -n "$unstarted" ]; then
    note "Wine did not start a program, runs once more: $unstarted"
    (cd "$qv_root" && watch_log "$log.again" ctest --preset "$preset" -R "$unstarted" --output-junit "$report.again") ||
      true
  fi
}
