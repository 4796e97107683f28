# shellcheck shell=bash
# What every script here shares: where things are, how progress and failures are told. Source it, do not run it.

qv_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
qv_cache=${QV_CACHE:-$qv_root/.cache}
case $qv_cache in /*) ;; *) qv_cache=$PWD/$qv_cache ;; esac
qv_build=$qv_root/build
qv_runtimes=$qv_cache/runtimes
qv_jars=$qv_cache/jars
qv_step=0
qv_steps=${qv_steps:-0}

# Tells which step begins: [2/6] text
step() {
  qv_step=$((qv_step + 1))
  printf '[%d/%d] %s\n' "$qv_step" "$qv_steps" "$*"
}

note() { printf '      %s\n' "$*"; }

# Ends the script with what is wrong and what helps.
fail() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

# Runs a command with its output kept in a file: quiet when it succeeds, the whole output when it fails.
# Usage: run_logged LOG COMMAND [ARGUMENT...]
run_logged() {
  local log=$1 status=0
  shift
  mkdir -p "$(dirname "$log")"
  "$@" >"$log" 2>&1 </dev/null || status=$?
  [ "$status" -eq 0 ] || tell_failure "$log" "$status" "$@"
  return "$status"
}

# The same for what takes long and counts on the way, as Ninja and CTest do: tells how far it is.
run_watched() {
  local log=$1 status=0
  watch "$@" || status=$?
  shift
  [ "$status" -eq 0 ] || tell_failure "$log" "$status" "$@"
  return "$status"
}

# The watching alone.
watch() {
  local log=$1
  shift
  mkdir -p "$(dirname "$log")"
  "$@" 2>&1 </dev/null | tee "$log" | tell_progress
  return "${PIPESTATUS[0]}"
}

# Tells after five seconds, and then ever less often.
tell_progress() {
  local line told=$SECONDS pause=5
  while read -r line; do
    if [[ $line =~ ^\[?([0-9]+)/([0-9]+)(\]| Test) ]] && [ $((SECONDS - told)) -ge "$pause" ]; then
      note "${BASH_REMATCH[1]} of ${BASH_REMATCH[2]}"
      told=$SECONDS
      pause=$((pause + 1))
    fi
  done
}

# Whoever interrupted a command needs no log of it.
tell_failure() {
  local log=$1 status=$2
  [ "$status" -ne 130 ] || exit 130
  shift 2
  cat "$log" >&2
  printf 'error: exit code %d from: %s\n' "$status" "$*" >&2
}

# Takes a lock file until this shell ends, and says so when it has to wait for long. Usage: take_lock FILE "who holds it"
take_lock() {
  local held
  mkdir -p "$(dirname "$1")"
  exec {held}>"$1"
  flock -w 3 "$held" || { note "waiting: $2" && flock "$held"; }
}

# Prints the first comment of the script, which is its help, and ends it, when its arguments ask for that.
# Usage: offer_help "$@"
offer_help() {
  case ${1-} in -h | --help) ;; *) return 0 ;; esac
  awk 'NR > 1 { if (!/^#/) exit; sub(/^# ?/, ""); print }' "$0"
  exit 0
}
