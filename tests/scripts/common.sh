# shellcheck shell=bash
# What the tests of ./check's long commands have in common; sourced.
set -Eeuo pipefail
trap 'echo "${BASH_SOURCE[0]##*/}, line $LINENO: failed: $BASH_COMMAND" >&2' ERR
root=$(realpath "$(dirname "$0")/../..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset KAETCP_STARTED_BY

# make_stub SCRIPT FILE...: each file becomes this shell script.
make_stub() {
  local file
  for file in "${@:2}"; do
    mkdir -p "${file%/*}"
    printf '#!/bin/sh\n%s\n' "$1" >"$file"
    chmod +x "$file"
  done
}

# make_tree SCRIPT...: a tree with ./check and these scripts, in which we then are, without packages
# to install. The programs of ../bin take the place of the machine's.
make_tree() {
  mkdir -p "$work"/{bin,tree/scripts}
  cd "$work/tree"
  cp "$root/check" .
  cp "${@/#/$root/scripts/}" "$root"/scripts/{build.sh,no_leftovers.sh,steps.sh} scripts
  make_stub '' scripts/install_packages
  PATH=$work/bin:$PATH
}

# verdict STATUS WORDS...: what is in `command` ends so and prints these words.
command=()
verdict() {
  local expected=$1 status=0 output words
  shift
  output=$("${command[@]}" 2>&1) || status=$?
  ((status == expected)) || { echo "ended with $status, not $expected: $output" >&2; exit 1; }
  for words; do
    [[ $output == *"$words"* ]] || { echo "does not say <$words>: $output" >&2; exit 1; }
  done
}
