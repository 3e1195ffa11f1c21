# Completion of mvdpctl for bash; installed where bash-completion looks for it.
# What panels there are is not asked: pressing Tab must not send anything.

_mvdpctl_interfaces() {
    local path
    for path in /sys/class/net/*; do
        [ -e "$path" ] && printf '%s\n' "${path##*/}"
    done
}

# Folders, and the files with one of these suffixes whose names begin with the first argument.
_mvdpctl_files() {
    local word=$1 suffix
    shift
    compgen -d -- "$word"
    for suffix in "$@"; do
        compgen -f -X "!*$suffix" -- "$word"
    done
}

# The options of a command; without one, those of every command.
_mvdpctl_options() {
    local common="--interface --source-port --timeout --rounds --names --json --csv --quiet --verbose --color --yes
        --help --version"
    case $1 in
    "" | discover | watch | tour) echo "$common" ;;
    identify | wink) echo "$common --all --to" ;;
    echo) echo "$common --all --to --count --interval" ;;
    set) echo "$common --to --address --netmask --gateway --from --format --dry-run --wait --force" ;;
    plan) echo "$common --range --netmask --gateway --order" ;;
    restart | reset-network) echo "$common --all --to --wait" ;;
    restore-defaults) echo "$common --all --to --wait --marker" ;;
    raw) echo "$common --to --mac --address --netmask --gateway --hex --length" ;;
    esac
}

# True when the next word is the value of this option.
_mvdpctl_takes_value() {
    case $1 in
    --interface | --source-port | --timeout | --rounds | --names | --color | --to | --count | --interval | \
        --address | --netmask | --gateway | --from | --format | --range | --order | --marker | --mac | --hex | \
        --length) ;;
    --*) return 1 ;;
    # Behind a letter that takes a value, the rest of the word is the value.
    -?*) [ -z "${1#*[it]}" ] ;;
    *) return 1 ;;
    esac
}

# The command before the cursor, also when only the beginning of its name is there; nothing when there is none.
_mvdpctl_command() {
    local index word found
    for ((index = 1; index < COMP_CWORD; ++index)); do
        word=${COMP_WORDS[index]}
        case $word in
        # Bash splits --option=value into three words, and a MAC address into eleven.
        [=:]*) index=$((index + 1)) ;;
        -*)
            if _mvdpctl_takes_value "$word" && [ "${COMP_WORDS[index + 1]}" != "=" ]; then
                index=$((index + 1))
            fi
            ;;
        *)
            mapfile -t found < <(compgen -W "$1" -- "$word")
            [ "${#found[@]}" -eq 1 ] && word=${found[0]}
            echo "$word"
            return
            ;;
        esac
    done
}

_mvdpctl() {
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command
    local words="discover watch identify echo set plan wink restart reset-network restore-defaults tour raw"
    if [ "$word" = "=" ]; then
        word=
    elif [ "$previous" = "=" ]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    COMPREPLY=()
    case $previous in
    --interface | -i) mapfile -t COMPREPLY < <(compgen -W "$(_mvdpctl_interfaces)" -- "$word") ;;
    --color) mapfile -t COMPREPLY < <(compgen -W "auto always never" -- "$word") ;;
    --format) mapfile -t COMPREPLY < <(compgen -W "csv json" -- "$word") ;;
    --order) mapfile -t COMPREPLY < <(compgen -W "mac names model" -- "$word") ;;
    --marker) mapfile -t COMPREPLY < <(compgen -W "absolute relative" -- "$word") ;;
    --names)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(_mvdpctl_files "$word" .csv)
        ;;
    --from)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(_mvdpctl_files "$word" .csv .json)
        ;;
    *)
        _mvdpctl_takes_value "$previous" && return
        command=$(_mvdpctl_command "$words")
        if [ -n "$command" ] || [[ $word == -* ]]; then
            words=$(_mvdpctl_options "$command")
        fi
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
        ;;
    esac
}

complete -F _mvdpctl mvdpctl
