# shellcheck shell=bash disable=SC2034  # variables for the scripts that source this
# What the tests of this folder have in common; sourced.
set -E
trap 'echo "${BASH_SOURCE[0]##*/}, line $LINENO: failed: $BASH_COMMAND" >&2' ERR
export LC_ALL=C
readonly components=(kaetcp kaetcp-dev kaehost)
# Folders of build_packages.
readonly package_build=build/package_test packages=build/package_test/packages
installed_list=$(dirname "${BASH_SOURCE[0]}")/installed.txt
readonly installed_list

fail() {
  echo "$*" >&2
  exit 1
}

# A skipped run must not pass for a green one where nobody reads along.
skip() {
  echo "SKIPPED, this was not tested: $*" >&2
  [[ ${CI-} == true ]] && exit 1
  exit 77
}

# expected_files COMPONENT LIBDIR: what installed.txt has for it.
expected_files() { sed -n "s|^$1 \+||p" "$installed_list" | sed "s|^LIBDIR|$2|" | sort; }

# same_lines WHAT EXPECTED FOUND: two texts are equal, or the difference is shown.
same_lines() {
  diff -u --label expected --label found <(echo "$2") <(echo "$3") || fail "$1: see above"
}

# In a folder of the test's own: that of the preset may be configured otherwise.
build_packages() {
  rm -rf "$packages"
  # Whoever builds them, everybody may read what they install.
  (
    umask 027
    cmake --preset package -B "$package_build" && cmake --build "$package_build" &&
      cpack --config "$package_build/CPackConfig.cmake"
  ) >"$package_build.log" 2>&1 || { cat "$package_build.log"; exit 1; }
}
