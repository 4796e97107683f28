# shellcheck shell=bash
# The Wine prefix of this checkout and the environment of what runs in it. Needs common.sh.

export WINEPREFIX=${QV_WINEPREFIX:-$qv_build/wine-prefix}
export WINEDEBUG=${WINEDEBUG:--all}
export WINEARCH=win64
export WINEDLLOVERRIDES="winemenubuilder.exe,mscoree,mshtml="
unset DISPLAY

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
  WINEPREFIX=$new run_logged "$qv_build/logs/wineboot.log" wine wineboot -i || fail "wineboot failed"
  WINEPREFIX=$new wineserver -w
  [ -f "$new/system.reg" ] || fail "wineboot made no registry; see $qv_build/logs/wineboot.log"
  mv "$new" "$WINEPREFIX"
}

setup_wine() {
  [ ! -f "$WINEPREFIX/system.reg" ] || return 0
  with_lock "$WINEPREFIX.lock" "another script makes the Wine prefix" make_wine_prefix
}
