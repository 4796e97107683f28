# shellcheck shell=bash
# Everything of this folder, for ./run and ./test.
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
. "$qv_root/tools/lib/packages.sh"
. "$qv_root/tools/lib/downloads.sh"
. "$qv_root/tools/lib/wine.sh"
. "$qv_root/tools/lib/build.sh"
. "$qv_root/tools/lib/install.sh"

setup_all() {
  setup_packages
  setup_downloads
  setup_wine
}
