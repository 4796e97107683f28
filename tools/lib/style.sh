# shellcheck shell=bash
# The form of our sources: clang-format, clang-tidy, shellcheck. Needs all.sh.

cpp_files() { (cd "$qv_root" && git ls-files -z --cached --others --exclude-standard '*.h' '*.hpp' '*.cpp'); }

# Shell scripts begin with a line for bash, libraries for them with one for shellcheck.
shell_files() { (cd "$qv_root" && git grep --untracked -lzE -m 1 '^(#!.*bash|# shellcheck shell=bash)$'); }

# Usage: format_sources OPTION...
format_sources() {
  setup_clang_format
  cpp_files | (cd "$qv_root" && xargs -0 "$qv_clang_format" "$@")
}

check_format() { format_sources --dry-run -Werror || fail "./format formats the above"; }

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
      printf -- '-extra-arg-before=-isystem%s\n' "$(realpath "$folder")"
    done
}

# Usage: tidy_sources [FILE...]; without files the product, the examples, the programs of the documents and the benchmarks.
tidy_sources() {
  local options
  mapfile -t options < <(cross_include_options)
  setup_packages tidy
  configure_preset release
  # The operations of the object are compiled as one file of the build's, which includes theirs.
  [ $# -gt 0 ] || set -- "$qv_root/(base|host|store|config|service|hostlib|doctor|bind|train|examples|docs/code|benchmarks)/.*[.]cpp" \
    "$qv_build/release/service/slots.cpp"
  (cd "$qv_root" && run-clang-tidy -quiet -p "$qv_build/release" -extra-arg-before=--target=x86_64-w64-mingw32 \
    -extra-arg=-Wno-unknown-warning-option "${options[@]}" "$@") || fail "clang-tidy found the above"
}
