# shellcheck shell=bash
# What every script here shares: where things are, how progress and failures are told. Source it, do not run it.

qv_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
qv_cache=${QV_CACHE:-$qv_root/.cache}
case $qv_cache in /*) ;; *) qv_cache=$PWD/$qv_cache ;; esac
qv_build=$qv_root/build
qv_runtimes=$qv_cache/runtimes
qv_jars=$qv_cache/jars
qv_lock=$qv_root/tools/downloads.lock
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

# The same for what takes long: tells after five seconds, and then ever less often, how far it is, as progress_of reads
# it from the log.
run_watched() {
  local log=$1 status=0
  watch_log "$@" || status=$?
  shift
  [ "$status" -eq 0 ] || tell_failure "$log" "$status" "$@"
  return "$status"
}

# The watching alone. The ticker lives as long as somebody holds the leash, which is nobody but this shell.
watch_log() {
  local log=$1 status=0 leash ticker
  shift
  mkdir -p "$(dirname "$log")"
  : >"$log"
  exec {leash}> >(tick_progress "$log")
  ticker=$!
  "$@" >"$log" 2>&1 </dev/null {leash}>&- || status=$?
  exec {leash}>&-
  wait "$ticker" || true
  return "$status"
}

# Whoever interrupted a command needs no log of it.
tell_failure() {
  local log=$1 status=$2
  [ "$status" -ne 130 ] || exit 130
  shift 2
  cat "$log" >&2
  printf 'error: exit code %d from: %s\n' "$status" "$*" >&2
}

tick_progress() {
  local progress told='' pause=5
  until read -r -t "$pause" _ || [ $? -le 128 ]; do
    progress=$(progress_of "$1")
    if [ -n "$progress" ] && [ "$progress" != "$told" ]; then
      note "$progress"
      told=$progress
      pause=$((pause + 1))
    fi
  done
}

# Runs a command while holding a lock file, and says so when it has to wait.
# Usage: with_lock FILE "who holds it" COMMAND [ARGUMENT...]
with_lock() (
  local file=$1 holder=$2
  shift 2
  mkdir -p "$(dirname "$file")"
  exec {fd}>"$file"
  if ! flock -n "$fd"; then
    note "waiting: $holder"
    flock "$fd"
  fi
  "$@"
)

# Prints the first comment of the script, which is its help, and ends it, when its arguments ask for that.
# Usage: offer_help "$@"
offer_help() {
  case ${1-} in -h | --help) ;; *) return 0 ;; esac
  awk 'NR > 1 { if (!/^#/) exit; sub(/^# ?/, ""); print }' "$0"
  exit 0
}

# Seconds since the script started, with one decimal.
elapsed() {
  local now=${EPOCHREALTIME/./}
  printf '%d.%d' $(((now - qv_started) / 1000000)) $(((now - qv_started) / 100000 % 10))
}
qv_started=${EPOCHREALTIME/./}
