# Completion of mvdpctl for fish. What panels there are is not asked: pressing Tab must not send anything.

function __mvdpctl_commands
    printf '%s\t%s\n' \
        discover 'Find panels' \
        watch 'Show panels appear, change and vanish' \
        identify 'Show the identity of panels' \
        echo 'Have panels send datagrams back' \
        set 'Give panels another address' \
        plan 'Make a plan that gives panels the addresses of a range' \
        wink 'Have panels show a notice on their screens' \
        restart 'Restart panels' \
        reset-network 'Give panels their network settings of the factory' \
        restore-defaults 'Have panels restore their defaults' \
        tour 'Wink at one panel after the other and take down their names' \
        raw 'Send any command code'
end

# True when the next word is the value of this option.
function __mvdpctl_takes_value
    contains -- $argv[1] --interface --source-port --timeout --rounds --names --color --to --count --interval \
        --address --netmask --gateway --from --format --range --order --marker --mac --hex --length
    # Behind a letter that takes a value, the rest of the word is the value.
    or string match -qr '^-[^-it]*[it]$' -- $argv[1]
end

# The command before the cursor, also when only the beginning of its name is there; nothing when there is none.
function __mvdpctl_command
    set -l previous ""
    for word in (commandline -opc)[2..]
        if __mvdpctl_takes_value "$previous"
            set previous ""
        else if string match -q -- '-*' $word
            set previous $word
        else
            set -l found (__mvdpctl_commands | string match -r -- '^'(string escape --style=regex -- $word)'[^\t]*')
            test (count $found) -eq 1; and echo $found; or echo $word
            return
        end
    end
end

function __mvdpctl_needs_command
    test -z (__mvdpctl_command)
end

# True for one of these commands. All options may stand before the command: there they are known, so that their
# values are completed, but not offered.
function __mvdpctl_command_is
    set -l command (__mvdpctl_command)
    if test -z "$command"
        not string match -q -- '-*' (commandline -ct)
    else
        contains -- $command $argv
    end
end

complete -c mvdpctl -f
complete -c mvdpctl -n __mvdpctl_needs_command -a '(__mvdpctl_commands)'

complete -c mvdpctl -s i -l interface -x -a '(path basename /sys/class/net/*)' -d 'Use this interface only'
complete -c mvdpctl -l source-port -x -d 'Send from this UDP port'
complete -c mvdpctl -s t -l timeout -x -d 'Seconds to wait in each round'
complete -c mvdpctl -l rounds -x -d 'How often to ask, at most'
complete -c mvdpctl -l names -r -a '(__fish_complete_suffix .csv)' -d 'The file of names'
complete -c mvdpctl -s j -l json -d 'Print the result as JSON'
complete -c mvdpctl -l csv -d 'Print the result as comma-separated values'
complete -c mvdpctl -l quiet -d 'Print results and errors only'
complete -c mvdpctl -s v -l verbose -d 'Show the datagrams'
complete -c mvdpctl -l color -x -a 'auto always never' -d 'Color marks'
complete -c mvdpctl -l yes -d 'Do not ask before a dangerous command'
complete -c mvdpctl -s h -l help -d 'Show help'
complete -c mvdpctl -s V -l version -d 'Show the version'

complete -c mvdpctl -n '__mvdpctl_command_is identify echo wink restart reset-network restore-defaults' -l all -d 'Every panel that fits'
complete -c mvdpctl -n '__mvdpctl_command_is identify echo set wink restart reset-network restore-defaults raw' -l to -x -d 'Reach the panel at this address'
complete -c mvdpctl -n '__mvdpctl_command_is set restart reset-network restore-defaults' -l wait -d 'Wait for a panel that restarts'
complete -c mvdpctl -n '__mvdpctl_command_is echo' -l count -x -d 'How many'
complete -c mvdpctl -n '__mvdpctl_command_is echo' -l interval -x -d 'Seconds between two'
complete -c mvdpctl -n '__mvdpctl_command_is set raw' -l address -x -d 'The new address'
complete -c mvdpctl -n '__mvdpctl_command_is set plan raw' -l netmask -x -d 'The new netmask'
complete -c mvdpctl -n '__mvdpctl_command_is set plan raw' -l gateway -x -d 'The new gateway'
complete -c mvdpctl -n '__mvdpctl_command_is set' -l from -r -a '(__fish_complete_suffix .csv; __fish_complete_suffix .json)' -d 'Take panels and settings from a file'
complete -c mvdpctl -n '__mvdpctl_command_is set' -l format -x -a 'csv json' -d 'How the file is written'
complete -c mvdpctl -n '__mvdpctl_command_is set' -l dry-run -d 'Tell what would be done'
complete -c mvdpctl -n '__mvdpctl_command_is set' -l force -d 'Send also settings that look wrong'
complete -c mvdpctl -n '__mvdpctl_command_is plan' -l range -x -d 'The addresses to give'
complete -c mvdpctl -n '__mvdpctl_command_is plan' -l order -x -a 'mac names model' -d 'In which order to give them'
complete -c mvdpctl -n '__mvdpctl_command_is restore-defaults' -l marker -x -a 'absolute relative' -d 'Which marker file'
complete -c mvdpctl -n '__mvdpctl_command_is raw' -l mac -x -d 'The panel that is meant'
complete -c mvdpctl -n '__mvdpctl_command_is raw' -l hex -x -d 'Put these bytes'
complete -c mvdpctl -n '__mvdpctl_command_is raw' -l length -x -d 'Send only the first bytes'
