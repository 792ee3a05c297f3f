# fish completion for cictl: the program itself says what there is.
complete -c cictl -f -a '(cictl --complete (commandline -opc)[2..] "$(commandline -ct)" 2>/dev/null)'
