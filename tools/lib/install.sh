# shellcheck shell=bash
# The installation folder of a host program, and what its example programs make there. Needs common.sh.
#
#   qvjvm.dll qvshr.dll      the service and the host library
#   fo2pdf.exe jdbc.exe      the example programs
#   qvjoin.dll reporthost.jar
#   JRE/                     a Java runtime, where the service looks for a private one
#   fop-0.20.5/              the formatter, where the service's class path expects it
#   drivers/                 JDBC drivers, which come to the class path by CLASSPATH
qv_installed=(qvjvm.dll qvshr.dll fo2pdf.exe jdbc.exe qvjoin.dll reporthost.jar)

# Copies a file unless the same one is there already; never leaves half of one.
install_file() {
  cmp -s "$1" "$2" && return
  mkdir -p "$(dirname "$2")"
  cp "$1" "$2.new"
  mv "$2.new" "$2"
}

# The runtime's files are hard links where the file system allows it: at once, and without their size again.
install_runtime() {
  local from=$1 to=$2
  [ "$(cat "$to/.unpacked-from" 2>/dev/null)" = "$(cat "$from/.unpacked-from")" ] && return
  rm -rf "$to" "$to.new"
  cp -al "$from" "$to.new" 2>/dev/null || { rm -rf "$to.new" && cp -a "$from" "$to.new"; }
  mv "$to.new" "$to"
}

# Usage: stage_installation BIN RUNTIME FOLDER
stage_installation() {
  local bin=$1 runtime=$2 folder=$3 file place
  [ -f "$qv_runtimes/$runtime/bin/server/jvm.dll" ] || fail "there is no Java runtime $runtime in $qv_runtimes"
  mkdir -p "$folder"
  for file in "${qv_installed[@]}"; do
    [ -f "$bin/$file" ] || fail "$bin/$file was not built"
    install_file "$bin/$file" "$folder/$file"
  done
  install_runtime "$qv_runtimes/$runtime" "$folder/JRE"
  while read -r _ _ file _ place; do
    install_file "$qv_jars/$file" "$folder/$place"
  done < <(locked jar)
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
  run_logged "$1" timeout 120 "$qv_root/tools/wine-run" "${@:2}" || status=$?
  [ "$status" -ne 124 ] || note "$2 did not end within 120 seconds"
  return "$status"
}

# Lets the installed program make the PDF of the report. Usage: make_report FOLDER PDF LOG
make_report() {
  run_in_wine "$3" "$1/fo2pdf.exe" "$(windows_path "$qv_root/examples/fo2pdf/report.fo")" "$(windows_path "$2")"
}

# Prints the class path of the JDBC drivers, as the variable CLASSPATH takes it. Usage: driver_path FOLDER
driver_path() {
  local jar path=
  for jar in "$1"/drivers/*.jar; do path+=${path:+;}$(windows_path "$jar"); done
  printf '%s\n' "$path"
}

# Whether a line of a Windows program's output contains a text. grep reads to the end: one that left at the first match
# would fail who still writes to it. Usage: has_line LOG TEXT
has_line() { tr -d '\r' <"$1" | grep -F -e "$2" >/dev/null; }

# A line "name: value" of the program's output. Usage: told_by_program LOG NAME
told_by_program() { sed -n "s/\r\$//; s/^$2: //p" "$1" | head -n 1; }
