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

# The standard headers of the cross-compiler, which clang does not find by itself.
cross_include_options() {
  x86_64-w64-mingw32-g++-posix -E -x c++ -v - </dev/null 2>&1 >/dev/null |
    sed -n '/^#include </,/^End of search list/s/^ \(\/.*\)/\1/p' |
    while read -r folder; do
      # The compiler's own headers are replaced by clang's.
      case $folder in */include-fixed | */lib/gcc/*/include) continue ;; esac
      printf -- '--extra-arg-before=-isystem%s\n' "$(realpath "$folder")"
    done
}

# Usage: tidy_sources [FILE...]; without files the product, the examples, the programs of the documents and the benchmarks.
tidy_sources() {
  local options files=("$@") build=$qv_build/release
  mapfile -t options < <(cross_include_options)
  configure_preset release
  if [ "${#files[@]}" -eq 0 ]; then
    mapfile -t files < <(cd "$qv_root" &&
      find base host store config service bridge hostlib doctor examples docs/code benchmarks -name '*.cpp' | sort)
  fi
  note "clang-tidy over ${#files[@]} files"
  printf '%s\0' "${files[@]}" | (cd "$qv_root" && xargs -0 -n 1 -P "$(nproc)" clang-tidy-14 -p "$build" --quiet \
    --extra-arg-before=--target=x86_64-w64-mingw32 "${options[@]}") 2>&1 | sed '/^[0-9]* warnings\? generated/d' ||
    fail "clang-tidy found the above"
}
