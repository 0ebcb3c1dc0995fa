# bash completion for tovictl(1)

_tovictl() {
  local cur prev words cword split
  _init_completion -s || return

  local verbs='enroll follow help messages report settings state status top version' i
  local verb='' operands=0
  for ((i = 1; i < cword; i++)); do
    case ${words[i]} in
      --color | --count | --format | --interval | --key-file | --uuid) ((i++)) ;;
      -?*) ;;
      *) if [[ $verb ]]; then ((++operands)); else verb=${words[i]}; fi ;;
    esac
  done

  case $prev in
    --key-file) _filedir; return ;;
    --format) COMPREPLY=($(compgen -W 'tovi ecs ocsf-1.8 ocsf-1.9' -- "$cur")); return ;;
    --color) COMPREPLY=($(compgen -W 'auto always never' -- "$cur")); return ;;
    --count | --interval | --uuid) return ;;
  esac
  $split && return

  if [[ ! $verb ]]; then
    COMPREPLY=($(compgen -W "$verbs --help --version" -- "$cur"))
  elif [[ $cur == -* ]]; then
    local options='--help --json --color'
    case $verb in
      enroll) options+=' --uuid --key-file' ;;
      follow) options+=' --format --interval --once' ;;
      messages) options+=' --ack --nack' ;;
      status) options+=' --counters --force' ;;
      top) options+=' --interval --count --once' ;;
    esac
    COMPREPLY=($(compgen -W "$options" -- "$cur"))
  else
    case $verb-$operands in
      enroll-0 | report-2) _filedir ;;
      help-0) COMPREPLY=($(compgen -W "$verbs" -- "$cur")) ;;
      report-0) COMPREPLY=($(compgen -W status_message -- "$cur")) ;;
      report-1)
        COMPREPLY=($(compgen -W 'Ok Nok AgentDeliveredCompleted AgentFailDelivered' -- "$cur")) ;;
    esac
  fi
} &&
  complete -F _tovictl tovictl
