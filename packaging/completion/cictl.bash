# bash completion for cictl; everything comes from cictl itself.
_cictl()
{
    local current verb word
    current=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=()
    local isHost=
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ $word != -* && -z $isHost ]]; then
            verb=$word
            break
        fi
        [[ $word == -H || $word == --host ]] && isHost=yes || isHost=
    done
    if [[ -n $isHost ]]; then
        mapfile -t COMPREPLY < <(compgen -A hostname -- "$current")
        return
    fi
    if [[ -z $verb ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(cictl --commands 2>/dev/null)" -- "$current")
        return
    fi
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(cictl list --options "$verb" 2>/dev/null)" -- "$current")
        return
    fi
    case $verb in
    call)
        if ((COMP_CWORD == 2)); then
            mapfile -t COMPREPLY < <(compgen -W "$(cictl list --names 2>/dev/null)" -- "$current")
        else
            compopt -o nospace
            mapfile -t COMPREPLY < <(compgen -S = -W "$(cictl list --inputs "${COMP_WORDS[2]}" 2>/dev/null)" -- "$current")
        fi
        ;;
    list | decode)
        mapfile -t COMPREPLY < <(compgen -W "$(cictl list --names 2>/dev/null | sed 's/\..*//' | sort -u)" -- "$current")
        ;;
    wait)
        mapfile -t COMPREPLY < <(compgen -W "and or daemon ready init empty menu list text enquiry dialogue signal=" -- "$current")
        ;;
    watch)
        mapfile -t COMPREPLY < <(compgen -W "$(cictl list --signals 2>/dev/null)" -- "$current")
        ;;
    pin)
        ((COMP_CWORD == 3)) && mapfile -t COMPREPLY < <(compgen -W "verify set" -- "$current")
        ((COMP_CWORD == 4)) && mapfile -t COMPREPLY < <(compgen -P @ -f -- "${current#@}")
        ;;
    player)
        ((COMP_CWORD == 2)) &&
            mapfile -t COMPREPLY < <(compgen -W "verify play speed seek monitor stop" -- "$current")
        ;;
    debug)
        ((COMP_CWORD == 2)) &&
            mapfile -t COMPREPLY < <(compgen -W "$(cictl debug 2>/dev/null | sed '1d; s/ .*//')" -- "$current")
        ;;
    recording)
        compopt -o default
        ;;
    esac
}
complete -F _cictl cictl
