# shellcheck shell=bash
# The installation folder of a host program, and how programs run in it. Needs common.sh.

# Lays out the examples: the service, the programs, their jars and a Java runtime. Usage: stage_installation BIN RUNTIME FOLDER
stage_installation() {
  run_logged "$qv_build/logs/install.log" cmake "-DFOLDER=$3" "-DFROM=$1" "-DRUNTIME=$qv_runtimes/$2" "-DJARS=$qv_jars" \
    -P "$qv_root/tools/install.cmake" || fail "there is no installation"
}

windows_path() { printf 'Z:%s\n' "${1//\//\\}"; }

# The Linux path of a file on the prefix's drive C: or on Z:.
linux_path() {
  local path=${1//\\//}
  case $path in
    [Cc]:*) printf '%s/drive_c%s\n' "$WINEPREFIX" "${path#?:}" ;;
    *) printf '%s\n' "${path#?:}" ;;
  esac
}

# Runs a Windows program with its output in a file; two minutes are a hang.
# Usage: run_in_wine LOG PROGRAM [ARGUMENT...]
run_in_wine() {
  local status=0
  QV_TEST_LIMIT=120 run_logged "$1" "$qv_root/tools/wine-run" "${@:2}" || status=$?
  [ "$status" -ne 124 ] || note "$2 did not end within 120 seconds"
  return "$status"
}

# Lets the installed program make the PDF of the report. Usage: make_report FOLDER PDF LOG
make_report() {
  run_in_wine "$3" "$1/fo2pdf.exe" "$(windows_path "$qv_root/examples/fo2pdf/report.fo")" "$(windows_path "$2")"
}

# Whether a line of a Windows program's output contains a text. grep reads to the end: one that left at the first match
# would fail who still writes to it. Usage: has_line LOG TEXT
has_line() { tr -d '\r' <"$1" | grep -F -e "$2" >/dev/null; }

# A line "name: value" of the program's output. Usage: told_by_program LOG NAME
told_by_program() { sed -n "s/\r\$//; s/^$2: //p" "$1" | head -n 1; }
