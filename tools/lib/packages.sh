# shellcheck shell=bash
# Which Debian packages are missing, and their installation. Needs common.sh.

# Prints the folder of a JDK that has javac and jni.h: JAVA_HOME, else one of /usr/lib/jvm, the default first.
find_jdk() {
  local home
  for home in "${JAVA_HOME:-}" /usr/lib/jvm/default-java /usr/lib/jvm/*; do
    if [ -n "$home" ] && [ -x "$home/bin/javac" ] && [ -f "$home/include/jni.h" ]; then
      printf '%s\n' "$home"
      return
    fi
  done
  return 1
}

# Prints a Python that has pip.
find_pip_python() {
  local python
  for python in python3 /usr/bin/python3; do
    "$python" -m pip --version >/dev/null 2>&1 && printf '%s\n' "$python" && return
  done
  return 1
}

is_present() {
  case $1 in
    jdk) find_jdk >/dev/null ;;
    pip) find_pip_python >/dev/null ;;
    */*) compgen -G "$1" >/dev/null ;;
    *) command -v "$1" >/dev/null ;;
  esac
}

# Prints the packages of these needs that are not there, one per line. Usage: missing_packages NEED...
missing_packages() {
  local needs need package probe
  needs=" $* ${*/%/-$(sed -n 's/^VERSION_ID="\(.*\)"/\1/p' /etc/os-release)} "
  while read -r need package probe; do
    case $needs in *" $need "*) is_present "$probe" || printf '%s\n' "$package" ;; esac
  done <"$qv_root/tools/packages.list"
}

# Installs what is missing; without the rights for that, names it and the line that installs it.
# Usage: setup_packages NEED...
setup_packages() {
  local missing as_root=()
  mapfile -t missing < <(missing_packages "$@")
  [ "${#missing[@]}" -gt 0 ] || return 0
  if ! command -v apt-get >/dev/null; then
    fail "missing: ${missing[*]} (names of Debian packages; this machine has no apt-get to install them with)"
  fi
  if [ "$(id -u)" -ne 0 ]; then
    if ! sudo -n true 2>/dev/null; then
      fail "missing packages: ${missing[*]}
Install them with:  sudo apt-get update && sudo apt-get install --no-install-recommends ${missing[*]}"
    fi
    as_root=(sudo -n)
  fi
  note "installing with apt-get: ${missing[*]}"
  run_logged "$qv_build/logs/apt-update.log" "${as_root[@]}" apt-get update ||
    fail "apt-get update failed; the packages ${missing[*]} are still missing"
  run_logged "$qv_build/logs/apt-install.log" "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y --no-install-recommends "${missing[@]}" ||
    fail "apt-get install failed; see the output above"
  hash -r
  mapfile -t missing < <(missing_packages "$@")
  [ "${#missing[@]}" -eq 0 ] || fail "still missing after apt-get install: ${missing[*]}"
}
