# shellcheck shell=bash
# Configures, builds and tests a preset. Needs common.sh and packages.sh.

# What a configured build folder depends on besides the CMake files, which Ninja watches itself.
configure_inputs() {
  printf '%s\n' "$qv_root" "$qv_runtimes" "$qv_jars" "$(find_jdk)"
  missing_packages test
  cat "$qv_root/CMakePresets.json"
}

# Without what the tests need there are none to build.
configure_preset() {
  local preset=$1 folder=$qv_build/$1 stamp tests=ON
  stamp=$(configure_inputs | sha256sum)
  [ -f "$folder/build.ninja" ] && [ "$(cat "$folder/.configured" 2>/dev/null)" = "$stamp" ] && return
  [ -z "$(missing_packages test)" ] || tests=OFF
  mkdir -p "$folder"
  (cd "$qv_root" && JAVA_HOME=$(find_jdk) run_logged "$qv_build/logs/configure-$preset.log" cmake --preset "$preset" \
    -DCMAKE_EXPORT_COMPILE_COMMANDS=ON "-DQV_RUNTIMES_DIR=$qv_runtimes" "-DQV_JARS_DIR=$qv_jars" \
    "-DQV_TESTS=$tests") ||
    fail "configuring the preset $preset failed; see the output above"
  printf '%s\n' "$stamp" >"$folder/.configured"
}

# Usage: build_preset PRESET [TARGET...]
build_preset() {
  local preset=$1 log=$qv_build/logs/build-$1.log
  shift
  configure_preset "$preset"
  (cd "$qv_root" && run_watched "$log" cmake --build --preset "$preset" ${1:+--target "$@"}) ||
    fail "building the preset $preset failed; see the output above"
}

# Runs the tests of a built preset; which of them failed is for the report to say. Where Wine's programs cannot have
# fixed addresses (see wine.sh), one that fails runs once more. Usage: run_tests PRESET REPORT [CTEST-OPTION...]
run_tests() {
  local preset=$1 report=$2 log=$qv_build/logs/test-$1.log status=0 again=()
  shift 2
  [ "${QV_NIGHTLY:-}" != 1 ] || set -- "$@" -C Long
  rm -f "$report"
  if [ "${qv_wine[0]}" != setarch ]; then
    note "setarch -R is forbidden here: one Windows program of 4,000 will not start, so a test that fails runs again"
    again=(--repeat until-pass:2)
  fi
  # Twice as many as there are processors: tests wait for a third of their time, for processes that start and end.
  (cd "$qv_root" && watch "$log" ctest --preset "$preset" -j "$(($(nproc) * 2))" --output-junit "$report" "${again[@]}" "$@") || status=$?
  (cd "$qv_root" && ctest --preset "$preset" --show-only=json-v1 "$@") >"$report.list"
  case $status in 0 | 8) ;; *) rm -f "$report" ;; esac
  if [ ! -f "$report" ]; then
    tell_failure "$log" "$status" ctest --preset "$preset"
    fail "the tests did not run to their end; see the output above"
  fi
}
