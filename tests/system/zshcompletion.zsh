# Prints what zsh completes a command line to, one word a line: zsh -f zshcompletion.zsh FOLDER COMMAND-LINE
# The line is typed into a zsh of its own, in a pseudo-terminal, and Tab is pressed.
zmodload zsh/zpty
zpty inner zsh -f -i
read_to() {
    local chunk
    REPLY=
    while zpty -r inner chunk; do
        REPLY+=$chunk
        [[ $REPLY == *$1* ]] && return 0
    done
    return 1
}
zpty -w inner "PROMPT=; fpath=(${(q)1} \$fpath); autoload -Uz compinit; compinit -u -D"
zpty -w inner 'bindkey "^I" complete-word; zstyle ":completion:*" insert-tab false
before() { print -r - BEGIN-WORDS }
after() { print -r - END-WORDS; exit }
compprefuncs=(before); comppostfuncs=(after)
compadd() {
    if [[ ${@[1,(i)(-|--)]} == *-(O|A|D)\ * ]]; then builtin compadd "$@"; return; fi
    local -a hits
    builtin compadd -A hits "$@"
    (( $#hits )) && print -rl - "HIT:${^hits}"
}
print READY-"NOW"'
read_to READY-NOW || exit 1
zpty -w -n inner "$2"$'\t'
read_to END-WORDS || exit 1
print -r -- "$REPLY" | tr -d '\r' | sed -n 's/^HIT://p'
