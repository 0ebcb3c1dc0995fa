# fish completion for tovi-replay(1)

complete -c tovi-replay -s h -l help -d 'show help'
complete -c tovi-replay -l version -d 'show the version'
complete -c tovi-replay -l events -d 'print events'
complete -c tovi-replay -l records -d 'print a line for each DNS message'
complete -c tovi-replay -l store -x -a '(__fish_complete_directories)' -d 'store batches here'
complete -c tovi-replay -l format -x -a 'tovi ecs ocsf-1.8 ocsf-1.9' -d 'write events as'
complete -c tovi-replay -l report -r -d 'write a page about the capture'
complete -c tovi-replay -l repetition-interval -x -d 'report a question again after these seconds'
complete -c tovi-replay -l batch-size -x -d 'close a batch at this many events'
complete -c tovi-replay -l collector-host -x -d 'leave out exchanges about this name'
complete -c tovi-replay -s q -l quiet -d 'write the summary alone'
