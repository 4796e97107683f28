# shellcheck shell=bash
# Everything of this folder, for ./run and ./test.
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
. "$qv_root/tools/lib/packages.sh"
. "$qv_root/tools/lib/downloads.sh"
. "$qv_root/tools/lib/wine.sh"
. "$qv_root/tools/lib/build.sh"
. "$qv_root/tools/lib/install.sh"

# Takes this folder for the script, and ends what runs in its Wine prefix when the script ends.
work_alone() {
  take_lock "$qv_build/run.lock" "another ./run or ./test works in this folder"
  end_cleanly
}

# Usage: setup_all NEED...    (see tools/packages.list)
setup_all() {
  setup_packages "$@"
  setup_downloads
  start_wine
}
