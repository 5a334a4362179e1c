# bash completion for kaehost

# Names of other users' namespaces may be code: they are quoted, and compgen -W would expand them.
_kaehost_namespaces() {
  local name
  for name in /run/netns/*; do
    [[ -e $name ]] || continue
    printf -v name %q "${name##*/}"
    [[ $name != "$1"* ]] || COMPREPLY+=("$name")
  done
}

_kaehost() {
  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}
  local command=${COMP_WORDS[1]-} word i options
  COMPREPLY=()

  # The words after "--" are a command.
  if [[ $command == apply ]]; then
    for ((i = 2; i < COMP_CWORD; i++)); do
      if [[ ${COMP_WORDS[i]} == -- ]]; then
        if ((i == COMP_CWORD - 1)); then
          mapfile -t COMPREPLY < <(compgen -c -- "$cur")
        else
          compopt -o default 2>/dev/null
        fi
        return
      fi
    done
  fi

  if ((COMP_CWORD == 1)); then
    mapfile -t COMPREPLY < <(compgen -W 'apply check inspect import list restore validate --help --version' -- "$cur")
    return
  fi

  case $prev in
    --netns)
      _kaehost_namespaces "$cur"
      return
      ;;
    --plugin)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -f -X '!*.so' -- "$cur"; compgen -d -- "$cur")
      return
      ;;
    --junit | --netns-file | --output)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -f -- "$cur")
      return
      ;;
  esac

  case $command in
    apply) options='--help --as-is --fail --hold --initial-values --json --kill-after --live --netns --netns-file --no-journal --plugin --quiet --strict --trace --verbose --whole-catalogue --' ;;
    check) options='--help --json --quiet' ;;
    inspect) options='--help --json --quiet' ;;
    import) options='--help --json --output --quiet' ;;
    list) options='--document --help --json --missing' ;;
    restore) options='--help --json --live --netns --quiet' ;;
    validate) options='--help --exclude --include --json --junit --list --only-failed --seed --timeout' ;;
    *) return ;;
  esac
  if [[ $cur == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
    return
  fi

  case $command in
    apply | check) word='*.xml' ;;
    inspect | validate) word='*.so' ;;
    import) word='*.conf' ;;
    list)
      options=$("${COMP_WORDS[0]//\\/}" list 2>/dev/null | sed '1d; s/^ *//; s/ .*//')
      mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
      return
      ;;
    restore) return ;;
  esac
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -f -X "!$word" -- "$cur"; compgen -d -- "$cur")
}

complete -F _kaehost kaehost
