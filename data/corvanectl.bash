# Bash completion for corvanectl: its commands, their options, and the keys
# of Korvel's files, which corvanectl itself lists (corvanectl keys).
_corvanectl() {
    local line=${COMP_LINE:0:COMP_POINT}
    local cur=${line##*[[:space:]]} command= word
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case $word in get|set|dump|apply|diff|check|profile|recover|history|rollback|next|keys) command=$word; break ;; esac
    done
    local IFS=$'\n' options=
    case $command in
        '') options=$'get\nset\ndump\napply\ndiff\ncheck\nprofile\nrecover\nhistory\nrollback\nnext\nkeys\n-C\n--wait\n--show-secrets\n--help\n--version' ;;
        get) options=$'--json\n-z' ;;
        set) options=$'--dry-run\n--json\n--create' ;;
        apply) options=$'--dry-run\n--json\n--create' ;;
        dump|diff|check|history|keys) options=$'--json' ;;
        next) options=$'--days' ;;
        profile) options=$'save\nload' ;;
    esac
    if [[ -z $command || $cur == -* ]]; then
        COMPREPLY=($(compgen -W "$options" -- "$cur"))
    elif [[ $command == get || $command == set || $command == keys ]]; then
        COMPREPLY=($("${COMP_WORDS[0]}" keys --complete "$cur" 2>/dev/null))
        # A whole key takes its value next; a section, its key.
        [[ $command == set ]] && COMPREPLY=("${COMPREPLY[@]/%[^.]/&=}")
        compopt -o nospace 2>/dev/null
    else
        COMPREPLY=($(compgen -f -- "$cur"))
    fi
    # Bash breaks words at ":"; what it completes is the part after the last one.
    local before_colon=${cur%"${cur##*:}"}
    [[ -n $before_colon ]] && COMPREPLY=("${COMPREPLY[@]#"$before_colon"}")
}
complete -F _corvanectl corvanectl
