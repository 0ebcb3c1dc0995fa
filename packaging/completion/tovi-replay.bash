# bash completion for tovi-replay(1)

_tovi_replay() {
  local cur prev words cword
  _init_completion || return

  case $prev in
    --store) _filedir -d; return ;;
    --format) COMPREPLY=($(compgen -W 'tovi ecs ocsf-1.8 ocsf-1.9' -- "$cur")); return ;;
    --report) _filedir html; return ;;
    --batch-size | --collector-host | --repetition-interval) return ;;
  esac

  if [[ $cur == -* ]]; then
    COMPREPLY=($(compgen -W '--batch-size --collector-host --events --format --help --quiet
      --records --repetition-interval --report --store --version' -- "$cur"))
  else
    _filedir '@(pcap|pcapng|cap)'
  fi
} &&
  complete -F _tovi_replay tovi-replay
