# shellcheck shell=bash
# The Wine prefix of this checkout and the environment of what runs in it. Needs common.sh.

export WINEPREFIX=${QV_WINEPREFIX:-$qv_build/wine-prefix}
# Virtual memory's errors say why a program did not start, those of locks where one hangs.
export WINEDEBUG=${WINEDEBUG:--all,err+virtual,err+sync}
export WINEARCH=win64
# In the locale "C", which a bare Debian has, Wine makes no file whose name is not ASCII.
export LC_ALL=C.UTF-8
# No winedbg: when it ends a program that crashed, that program's exit code is sometimes 0, and a test would count as
# passed. Without it the code is that of the crash; Wine still prints the fault and its address.
export WINEDLLOVERRIDES="winemenubuilder.exe,winedbg.exe,mscoree,mshtml="
unset DISPLAY

# Debian's Wine is linked to 0x7d000000, and Linux puts the heap of such a program anywhere in the gigabyte above it: in
# one start of 4,000 where Wine needs the page 0x7ffe0000. The program then ends before it has run, with exit code 1. So
# nothing is to be put anywhere, and a child has that from its parent.
qv_wine=(wine)
! setarch -R true 2>/dev/null || qv_wine=(setarch -R wine)

# Makes the prefix beside its place and renames it, so that an interruption leaves nothing half made.
make_wine_prefix() {
  local new=$WINEPREFIX.new
  note "making the Wine prefix, about ten seconds"
  rm -rf "$new"
  WINEPREFIX=$new run_logged "$qv_build/logs/wineboot.log" "${qv_wine[@]}" wineboot -i || fail "wineboot failed"
  WINEPREFIX=$new wineserver -w
  [ -f "$new/system.reg" ] || fail "wineboot made no registry; see $qv_build/logs/wineboot.log"
  mv "$new" "$WINEPREFIX"
}

# Wine's server outlives the program that started it; what it inherits stays open, locks and pipes too.
close_inherited_files() {
  local file
  for file in /proc/self/fd/*; do
    file=${file##*/}
    case $file in 0 | 1 | 2 | 255) ;; *) eval "exec $file>&-" ;; esac
  done
}

# Starts the server unless it runs, in a prefix that is made when there is none. Debian's server leaves at once when the
# last program does, and a program that starts just then fails; this one waits half a minute for the next. Wine's own
# processes, the services and the desktop, inherit the output of the program that needs them first, and who waits for
# the end of that output waits for them. So that is a program of ours; a window class is enough for the desktop.
start_wine() (
  take_lock "$WINEPREFIX.lock" "another script starts Wine"
  [ -f "$WINEPREFIX/system.reg" ] || make_wine_prefix
  if (close_inherited_files && exec wineserver -p30) </dev/null >/dev/null 2>&1; then
    (close_inherited_files && exec "${qv_wine[@]}" rundll32.exe user32.dll,GetDesktopWindow) </dev/null >/dev/null 2>&1
  fi
)

# The desktop goes with the last program that has it open, and keeps the output of the one that starts it anew. So while
# a script runs many, one has it open that reads a pipe, which ends with this shell, however that ends.
hold_wine() {
  coproc wine_holder {
    exec "$qv_root/tools/wine-run" cmd.exe /d /c "rundll32.exe user32.dll,GetDesktopWindow& echo held& set /p qv=" 2>/dev/null
  }
  read -r _ <&"${wine_holder[0]}" || fail "Wine does not start"
}

# Whichever way the script ends, all that runs in the prefix ends too.
end_cleanly() {
  trap '[ ! -d "$WINEPREFIX" ] || wineserver -k 2>/dev/null || true' EXIT
  trap 'printf "interrupted\n" >&2; exit 130' INT
  trap 'exit 143' TERM
}
