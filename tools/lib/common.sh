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

# The same for what takes long: tells every five seconds how far it is, as progress_of reads it from the log.
run_watched() {
  local log=$1 status=0 ticker
  shift
  mkdir -p "$(dirname "$log")"
  : >"$log"
  tick_progress "$log" &
  ticker=$!
  "$@" >"$log" 2>&1 </dev/null || status=$?
  kill "$ticker" 2>/dev/null || true
  wait "$ticker" 2>/dev/null || true
  [ "$status" -eq 0 ] || tell_failure "$log" "$status" "$@"
  return "$status"
}

tell_failure() {
  local log=$1 status=$2
  shift 2
  cat "$log" >&2
  printf 'error: exit code %d from: %s\n' "$status" "$*" >&2
}

# Waits in the shell itself, on a pipe that nobody writes to, so that ending it leaves no sleeping child.
tick_progress() {
  local never progress told=
  exec {never}<> <(:)
  while true; do
    read -r -t 5 -u "$never" _ || true
    progress=$(progress_of "$1")
    [ -n "$progress" ] && [ "$progress" != "$told" ] || continue
    note "$progress"
    told=$progress
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

# Seconds since the script started, with one decimal.
elapsed() {
  local now=${EPOCHREALTIME/./}
  printf '%d.%d' $(((now - qv_started) / 1000000)) $(((now - qv_started) / 100000 % 10))
}
qv_started=${EPOCHREALTIME/./}
