# shellcheck shell=bash disable=SC2034  # variables for the scripts that source this
# What ./check and scripts/check_deep have in common; sourced, in the repository's folder.
set -euo pipefail
. scripts/build.sh
jobs=$(nproc)
readonly jobs
skipped=

step() { printf '\n== %s (after %d:%02d)\n' "$*" $((SECONDS / 60)) $((SECONDS % 60)); }

# Runs the tests of a preset; tells the sum, what was skipped and, in full, what failed. Where nobody
# reads along, a skipped test is a failure, whatever it was skipped by. Further arguments are ctest's.
run_tests() {
  local log=build/$1/tests.log preset=$1
  shift
  if ! ctest --test-dir "build/$preset" -j "$jobs" --output-on-failure --no-tests=error "$@" \
    >"$log" 2>&1; then
    grep -vE '(Passed +[0-9.]+ sec|  Start +[0-9]+: .*)$' "$log"
    return 1
  fi
  sed -n '/tests passed/,$p' "$log"
  grep -qE '(Skipped|Disabled)\)$' "$log" || return 0
  [[ ${CI-} != true ]] || { echo "Skipped tests are failures here, where CI is true." >&2; return 1; }
  skipped="; but some tests were SKIPPED, see above"
}

# any_of WORD...: a regular expression for any of the words.
any_of() {
  local IFS='|'
  echo "($*)"
}

# Lints the shell scripts.
lint_scripts() {
  local scripts
  mapfile -t scripts < <(grep -lrIE '^#!.*\bbash$|^# shellcheck shell=' \
    run check measure .ci scripts tests schema)
  shellcheck "${scripts[@]}"
}

# Lints the files of these folders (an alternation, as "layer|plugin") as the preset `clang` or
# `asan` compiles them.
lint() {
  local preset=$1 folders=$2 here
  # The name of the folder that we are in is no regular expression.
  here=$(printf '%s' "$PWD" | sed 's/[^[:alnum:]/_-]/\\&/g')
  run-clang-tidy-14 -quiet -p "build/$preset" -j "$jobs" "^$here/($folders)/" \
    >build/lint.log 2>&1 || {
    grep -E 'error:|warning:' build/lint.log || cat build/lint.log
    return 1
  }
  grep -q "^clang-tidy" build/lint.log || { echo "the linter found no file" >&2; return 1; }
}

# Runs commands side by side, waits for all of them and fails when one failed. Each is a function
# whose output is shown when it has ended.
side_by_side() {
  local command pids=() failed=0 i
  for command; do
    "$command" >"build/$command.log" 2>&1 &
    pids+=($!)
  done
  for ((i = 1; i <= $#; i++)); do
    wait "${pids[i - 1]}" || failed=1
    cat "build/${!i}.log"
  done
  return "$failed"
}
