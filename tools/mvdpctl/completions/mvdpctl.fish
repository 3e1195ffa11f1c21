# Completion of mvdpctl for fish. What panels there are is not asked: pressing Tab must not send anything.

function __mvdpctl_needs_command
    test (count (commandline -opc)) -eq 1
end

function __mvdpctl_command_is
    set -l words (commandline -opc)
    test (count $words) -gt 1; and contains -- $words[2] $argv
end

set -l commands discover watch identify echo set wink restart reset-network restore-defaults raw

complete -c mvdpctl -f
complete -c mvdpctl -n __mvdpctl_needs_command -a discover -d 'Find panels'
complete -c mvdpctl -n __mvdpctl_needs_command -a watch -d 'Show panels appear, change and vanish'
complete -c mvdpctl -n __mvdpctl_needs_command -a identify -d 'Show the identity of one panel'
complete -c mvdpctl -n __mvdpctl_needs_command -a echo -d 'Have a panel send datagrams back'
complete -c mvdpctl -n __mvdpctl_needs_command -a set -d 'Give panels another address'
complete -c mvdpctl -n __mvdpctl_needs_command -a wink -d 'Have a panel show a notice on its screen'
complete -c mvdpctl -n __mvdpctl_needs_command -a restart -d 'Restart a panel'
complete -c mvdpctl -n __mvdpctl_needs_command -a reset-network -d 'Give a panel its network settings of the factory'
complete -c mvdpctl -n __mvdpctl_needs_command -a restore-defaults -d 'Have a panel restore its defaults'
complete -c mvdpctl -n __mvdpctl_needs_command -a raw -d 'Send any command code'
complete -c mvdpctl -n __mvdpctl_needs_command -l version -d 'Show the version'
complete -c mvdpctl -l help -d 'Show help'

complete -c mvdpctl -n "__mvdpctl_command_is $commands" -l interface -x -a '(path basename /sys/class/net/*)' -d 'Use this interface only'
complete -c mvdpctl -n "__mvdpctl_command_is $commands" -l source-port -x -d 'Send from this UDP port'
complete -c mvdpctl -n "__mvdpctl_command_is $commands" -l timeout -x -d 'Seconds to wait in each round'
complete -c mvdpctl -n "__mvdpctl_command_is $commands" -l rounds -x -d 'How often to ask, at most'
complete -c mvdpctl -n "__mvdpctl_command_is $commands" -l json -d 'Print the result as JSON'
complete -c mvdpctl -n "__mvdpctl_command_is $commands" -l csv -d 'Print the result as comma-separated values'
complete -c mvdpctl -n "__mvdpctl_command_is $commands" -l quiet -d 'Print results and errors only'
complete -c mvdpctl -n "__mvdpctl_command_is $commands" -l verbose -d 'Show the datagrams'
complete -c mvdpctl -n "__mvdpctl_command_is $commands" -l yes -d 'Do not ask before a dangerous command'

complete -c mvdpctl -n '__mvdpctl_command_is identify echo set wink restart reset-network restore-defaults raw' -l to -x -d 'Reach the panel at this address'
complete -c mvdpctl -n '__mvdpctl_command_is echo' -l count -x -d 'How many'
complete -c mvdpctl -n '__mvdpctl_command_is echo' -l interval -x -d 'Seconds between two'
complete -c mvdpctl -n '__mvdpctl_command_is set raw' -l address -x -d 'The new address'
complete -c mvdpctl -n '__mvdpctl_command_is set raw' -l netmask -x -d 'The new netmask'
complete -c mvdpctl -n '__mvdpctl_command_is set raw' -l gateway -x -d 'The new gateway'
complete -c mvdpctl -n '__mvdpctl_command_is set' -l from -r -a '(__fish_complete_suffix .csv; __fish_complete_suffix .json)' -d 'Take panels and settings from a file'
complete -c mvdpctl -n '__mvdpctl_command_is set' -l force -d 'Send also settings that look wrong'
complete -c mvdpctl -n '__mvdpctl_command_is restore-defaults' -l marker -x -a 'absolute relative' -d 'Which marker file'
complete -c mvdpctl -n '__mvdpctl_command_is raw' -l mac -x -d 'The panel that is meant'
complete -c mvdpctl -n '__mvdpctl_command_is raw' -l hex -x -d 'Put these bytes'
complete -c mvdpctl -n '__mvdpctl_command_is raw' -l length -x -d 'Send only the first bytes'
