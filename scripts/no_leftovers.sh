# shellcheck shell=bash
# Ends everything that the sourcing script has started when that script ends, also by Ctrl-C or
# SIGKILL. Sourced first, because it executes the script anew: a mark in the environment then shows
# which processes belong to it.

if [[ -z ${KAETCP_STARTED_BY-} ]]; then
  export KAETCP_STARTED_BY=$$.$EPOCHREALTIME
  exec "$0" "$@"
fi

# Kills the marked processes except this one. Fails when there are none.
kill_marked() {
  local environment process result=1
  for environment in /proc/[0-9]*/environ; do
    process=${environment//[!0-9]/}
    if [[ $process != "$BASHPID" ]] &&
      grep -qsz "^KAETCP_STARTED_BY=$KAETCP_STARTED_BY$" "$environment"; then
      kill -KILL "$process" 2>/dev/null && result=0
    fi
  done
  return "$result"
}

# Scripts that are started by another one end with that one.
if [[ $KAETCP_STARTED_BY == $$.* ]]; then
  (
    trap '' INT TERM HUP
    tail --pid=$$ -s 0.2 -f /dev/null
    while kill_marked; do sleep 0.1; done
  ) </dev/null >/dev/null 2>&1 &
  disown
fi
