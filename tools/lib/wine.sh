# shellcheck shell=bash
# The Wine prefix of this checkout and the environment of what runs in it. Needs common.sh.

export WINEPREFIX=${QV_WINEPREFIX:-$qv_build/wine-prefix}
# Virtual memory's errors say why a program did not start; tools/test-verdict looks for that.
export WINEDEBUG=${WINEDEBUG:--all,err+virtual}
export WINEARCH=win64
# No winedbg: when it ends a program that crashed, that program's exit code is sometimes 0, and a test would count as
# passed. Without it the code is that of the crash; Wine still prints the fault and its address.
export WINEDLLOVERRIDES="winemenubuilder.exe,winedbg.exe,mscoree,mshtml="
unset DISPLAY

# Debian's Wine is linked to 0x7d000000, and Linux puts the heap of such a program anywhere in the gigabyte above it: in
# one start of 4,000 where Wine needs the page 0x7ffe0000. The program then ends before it has run, with exit code 1. So
# nothing is to be put anywhere, and a child has that from its parent.
qv_wine=(wine)
! setarch -R true 2>/dev/null || qv_wine=(setarch -R wine)

# Takes Linux folders out of the variables that Windows programs would read as theirs.
clean_java_environment() {
  local name
  for name in JAVA_HOME JDK_HOME JRE_HOME CLASSPATH; do
    case ${!name:-} in /*) unset "$name" ;; esac
  done
}

# Makes the prefix beside its place and renames it, so that an interruption leaves nothing half made.
make_wine_prefix() {
  local new=$WINEPREFIX.new
  [ ! -f "$WINEPREFIX/system.reg" ] || return 0
  note "making the Wine prefix, about ten seconds"
  rm -rf "$new"
  WINEPREFIX=$new run_logged "$qv_build/logs/wineboot.log" "${qv_wine[@]}" wineboot -i || fail "wineboot failed"
  WINEPREFIX=$new wineserver -w
  [ -f "$new/system.reg" ] || fail "wineboot made no registry; see $qv_build/logs/wineboot.log"
  mv "$new" "$WINEPREFIX"
}

setup_wine() {
  [ ! -f "$WINEPREFIX/system.reg" ] || return 0
  with_lock "$WINEPREFIX.lock" "another script makes the Wine prefix" make_wine_prefix
}

# Marks what this script starts, so that finish_wine can tell it from what others run in the same prefix.
export QV_RUN_MARK=${QV_RUN_MARK:-$$-${EPOCHREALTIME/./}}

# Prints the process ids of Windows programs that this script started, Wine's own services left out.
marked_programs() {
  local folder command
  for folder in /proc/[0-9]*; do
    grep -qzsx "QV_RUN_MARK=$QV_RUN_MARK" "$folder/environ" || continue
    command=$(tr '\0' '\n' <"$folder/cmdline" 2>/dev/null | head -n 1)
    case $command in
      [Cc]:\\windows\\*) ;;
      *.exe) printf '%s\n' "${folder#/proc/}" ;;
    esac
  done
}

# Ends programs of this script that hang, and waits until Wine's own processes have left.
finish_wine() {
  local left
  release_wine
  mapfile -t left < <(marked_programs)
  if [ "${#left[@]}" -gt 0 ]; then
    note "ending Windows programs that did not end by themselves: ${left[*]}"
    kill -KILL "${left[@]}" 2>/dev/null || true
  fi
  ! command -v wineserver >/dev/null || timeout 10 wineserver -w || true
}

# Whichever way the script ends, what it started ends too.
end_cleanly() {
  trap finish_wine EXIT
  trap 'printf "interrupted\n" >&2; exit 130' INT
  trap 'exit 143' TERM
}

# Debian's Wine server leaves at once when the last program does, and a program that starts just then fails. So one
# that does nothing stays while a script runs many: it reads a pipe that ends with this shell, however that ends.
hold_wine() {
  local held
  [ "${qv_wine[0]}" = setarch ] ||
    note "setarch -R is forbidden here: one Windows program of 4,000 will not start; tests begin again then"
  coproc wine_holder {
    clean_java_environment && close_inherited_files && exec 2>/dev/null &&
      exec "${qv_wine[@]}" cmd.exe /d /c "$qv_wake_wine& echo held& set /p qv="
  }
  read -r held <&"${wine_holder[0]}" || fail "Wine does not start"
}

# Lets go of Wine in the shell that held it.
release_wine() {
  local holder=${wine_holder_PID-}
  [ -n "$holder" ] || return 0
  eval "exec ${wine_holder[1]}>&-"
  timeout 10 tail --pid="$holder" -f /dev/null || true
}

# Prints the process id of the server of this prefix. It works in a folder that is named after the prefix's device and
# inode; one that ended has no folder any more, also while nobody has waited for it.
wine_server() {
  local name inode
  inode=$(stat -c %i "$WINEPREFIX")
  name=$(printf 'server-%s-%x' "$(stat -c %D "$WINEPREFIX")" "$inode")
  find /proc -mindepth 2 -maxdepth 2 -name cwd -lname "*/$name" -printf '%h\n' 2>/dev/null | sed -n '1s:.*/::p' || true
}

# Wine's own processes, the services and the desktop, inherit the output of the program that needs them first, and who
# waits for the end of that output waits for them. So this is that program; a window class is enough for the desktop.
qv_wake_wine='rundll32.exe user32.dll,GetDesktopWindow'

# For programs that are run one by one: the server waits five seconds for the next.
linger_wine() {
  local lock
  exec {lock}>"$WINEPREFIX.lock"
  flock "$lock"
  if wineserver -p5 </dev/null >/dev/null 2>&1 {lock}>&-; then
    "${qv_wine[@]}" cmd.exe /d /c "$qv_wake_wine" </dev/null >/dev/null 2>&1 {lock}>&- || true
  fi
  exec {lock}>&-
}

# Wine's server outlives the program that started it; what it inherits stays open, locks and pipes too.
# 255 is where bash reads the calling script; it is not passed on.
close_inherited_files() {
  local file
  for file in /proc/self/fd/*; do
    file=${file##*/}
    case $file in 0 | 1 | 2 | 255) ;; *) eval "exec $file>&-" ;; esac
  done
}
