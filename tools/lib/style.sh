# shellcheck shell=bash
# The form of our sources: clang-format, clang-tidy, shellcheck. Needs common.sh and build.sh.

# Prints our files, relative to the root, each ended by a null. Usage: own_files [FIND-TEST...]
own_files() {
  (cd "$qv_root" && find . \( -path ./build -o -path ./out -o -path ./.cache -o -path ./.git \) -prune -o \
    -type f "$@" -print0)
}

cpp_files() { own_files \( -name '*.h' -o -name '*.cpp' \); }

# Shell scripts begin with a line for bash, libraries for them with one for shellcheck.
shell_files() {
  own_files | (cd "$qv_root" && xargs -0 grep -lZ -m 1 -E '^(#!.*bash|# shellcheck shell=bash)$')
}

# Each major version formats differently, so only the one that formatted the tree may judge it.
require_clang_format() {
  local version
  version=$(clang-format-14 --version 2>/dev/null) || fail "clang-format-14 is missing; install the package clang-format-14"
  case $version in *'version 14.'*) ;; *) fail "clang-format-14 is not version 14: $version" ;; esac
}

# Usage: format_sources OPTION...
format_sources() {
  require_clang_format
  cpp_files | (cd "$qv_root" && xargs -0 clang-format-14 "$@")
}

# Names each file that formatting would change, with the first places.
check_format() {
  local places
  require_clang_format
  places=$(format_sources --dry-run 2>&1 | sed -n -E 's/^([^ :]+:[0-9]+):[0-9]+: warning: .*/\1/p' | uniq |
    awk -F: '{ lines[$1] = lines[$1] " " $2 } END { for (file in lines) print file ", lines" lines[file] }' | cut -c -120) ||
    fail "clang-format failed"
  [ -z "$places" ] || fail "not formatted, which ./format does:
$places"
}

check_scripts() {
  shell_files | (cd "$qv_root" && xargs -0 shellcheck) || fail "shellcheck found the above"
}
