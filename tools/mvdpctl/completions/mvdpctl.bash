# Completion of mvdpctl for bash; installed where bash-completion looks for it.
# What panels there are is not asked: pressing Tab must not send anything.

_mvdpctl_interfaces() {
    local path
    for path in /sys/class/net/*; do
        [ -e "$path" ] && printf '%s\n' "${path##*/}"
    done
}

_mvdpctl_options() {
    local common="--interface --source-port --timeout --rounds --json --csv --quiet --verbose --yes --help"
    case $1 in
    discover | watch) echo "$common" ;;
    identify | wink | restart | reset-network) echo "$common --to" ;;
    restore-defaults) echo "$common --to --marker" ;;
    echo) echo "$common --to --count --interval" ;;
    set) echo "$common --to --address --netmask --gateway --from --force" ;;
    raw) echo "$common --to --mac --address --netmask --gateway --hex --length" ;;
    esac
}

_mvdpctl() {
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    local commands="discover watch identify echo set wink restart reset-network restore-defaults raw"
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "$commands --help --version" -- "$word")
        return
    fi
    case $previous in
    --interface) mapfile -t COMPREPLY < <(compgen -W "$(_mvdpctl_interfaces)" -- "$word") ;;
    --marker) mapfile -t COMPREPLY < <(compgen -W "absolute relative" -- "$word") ;;
    --from)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(
            compgen -d -- "$word"
            compgen -f -X '!*.csv' -- "$word"
            compgen -f -X '!*.json' -- "$word"
        )
        ;;
    --source-port | --timeout | --rounds | --to | --count | --interval | --address | --netmask | --gateway | \
        --mac | --hex | --length) ;;
    *) mapfile -t COMPREPLY < <(compgen -W "$(_mvdpctl_options "$command")" -- "$word") ;;
    esac
}

complete -F _mvdpctl mvdpctl
