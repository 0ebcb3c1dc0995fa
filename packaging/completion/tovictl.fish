# fish completion for tovictl(1)

set -l verbs enroll follow help messages report settings state status top version
complete -c tovictl -f
complete -c tovictl -l help -d 'show help'

set -l first "not __fish_seen_subcommand_from $verbs"
complete -c tovictl -n $first -l version -d 'show the version'
complete -c tovictl -n $first -a enroll -d 'hand the enrollment over'
complete -c tovictl -n $first -a follow -d 'print DNS events as they come'
complete -c tovictl -n $first -a help -d 'say what a verb does'
complete -c tovictl -n $first -a messages -d 'fetch the batches of DNS events that wait'
complete -c tovictl -n $first -a report -d 'report a delivery'
complete -c tovictl -n $first -a settings -d 'show the settings'
complete -c tovictl -n $first -a state -d 'show the state of the agent'
complete -c tovictl -n $first -a status -d 'show the status message, and what was captured and lost'
complete -c tovictl -n $first -a top -d 'watch who asks for what, live'
complete -c tovictl -n $first -a version -d 'show the version of tovictl'

complete -c tovictl -n "__fish_seen_subcommand_from $verbs" -l json -d 'write JSON'
complete -c tovictl -n "__fish_seen_subcommand_from $verbs" -l color -xa 'auto always never' -d 'when to colour'
complete -c tovictl -n '__fish_seen_subcommand_from help' -a "$verbs"
complete -c tovictl -n '__fish_seen_subcommand_from enroll' -F
complete -c tovictl -n '__fish_seen_subcommand_from enroll' -l uuid -x -d 'identifier of the agent'
complete -c tovictl -n '__fish_seen_subcommand_from enroll' -l key-file -rF -d 'file that holds the key'
complete -c tovictl -n '__fish_seen_subcommand_from follow' -l format -x \
  -a 'tovi ecs ocsf-1.8 ocsf-1.9' -d 'write events as'
complete -c tovictl -n '__fish_seen_subcommand_from follow' -l interval -x -d 'how often to ask, in seconds'
complete -c tovictl -n '__fish_seen_subcommand_from follow' -l once -d 'ask once, then end'
complete -c tovictl -n '__fish_seen_subcommand_from messages' -l ack -d 'report each as delivered'
complete -c tovictl -n '__fish_seen_subcommand_from messages' -l nack -d 'report each as failed'
complete -c tovictl -n '__fish_seen_subcommand_from report' -F \
  -a 'status_message Ok Nok AgentDeliveredCompleted AgentFailDelivered'
complete -c tovictl -n '__fish_seen_subcommand_from top' -l interval -x -d 'how often to ask, in seconds'
complete -c tovictl -n '__fish_seen_subcommand_from top' -l count -x -d 'end after so many looks'
complete -c tovictl -n '__fish_seen_subcommand_from top' -l once -d 'look once, then end'
complete -c tovictl -n '__fish_seen_subcommand_from status' -l counters -d 'show the counters alone'
complete -c tovictl -n '__fish_seen_subcommand_from status' -l force -d 'fetch one in any case'
