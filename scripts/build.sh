# shellcheck shell=bash
# build PRESET [OPTION...] [--target TARGET...]: configures and builds a preset, and shows how far
# it is. After a failure, shows the errors in full. Sourced, in the repository's folder.

# Reads ninja's lines "[3/120] ..." and shows the numbers: on a terminal in one line that is
# rewritten, elsewhere in a line for each quarter.
show_progress() {
  local line built="" all quarter=0
  while read -r line; do
    [[ $line =~ ^\[([0-9]+)/([0-9]+)\]\  && $line != *'] Re-'* ]] || continue
    built=${BASH_REMATCH[1]} all=${BASH_REMATCH[2]}
    if [[ -t 1 ]]; then
      printf '\r%s: %d of %d steps built' "$1" "$built" "$all"
    elif ((built * 4 / all > quarter)); then
      quarter=$((built * 4 / all))
      echo "$1: $built of $all steps built"
    fi
  done
  [[ ! -t 1 || -z $built ]] || echo
}

# Those who build the same preset side by side take turns.
build() {
  mkdir -p build
  (
    flock 9
    configure_and_build "$@"
  ) 9>"build/$1.lock"
}

configure_and_build() {
  local preset=$1 log=build/$1.log options=()
  shift
  while (($#)) && [[ $1 != --target ]]; do
    options+=("$1")
    shift
  done
  [[ -e build/$preset/build.ninja ]] || echo "$preset: configuring"
  if ! cmake --preset "$preset" "${options[@]}" >"$log" 2>&1; then
    cat "$log" >&2
    return 1
  fi
  if ! NINJA_STATUS='[%f/%t] ' cmake --build --preset "$preset" -j "$(nproc)" "$@" 2>&1 |
    tee "$log" | show_progress "$preset"; then
    grep -vE '^\[[0-9]+/[0-9]+\] ' "$log" >&2
    return 1
  fi
}
