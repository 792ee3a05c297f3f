# fish completion for ci-daemon-sim: the program itself says what there is.
complete -c ci-daemon-sim -f -a '(ci-daemon-sim --complete (commandline -opc)[2..] "$(commandline -ct)" 2>/dev/null)'
