# shellcheck shell=bash
# Completion for veranti(1): its subcommands and options, as its own help lists them.
_veranti() {
    local current=${COMP_WORDS[COMP_CWORD]} word
    local -a path=()
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ $word == -* ]] && continue
        path+=("$word")
        # The second word names a subcommand only behind "bus".
        [[ ${path[0]} == bus && ${#path[@]} -lt 2 ]] || break
    done
    local words
    words=$(veranti "${path[@]}" --help 2>/dev/null |
        sed -nE 's/^ {2,4}(-h,)?([a-z][a-z-]*|--[a-z-]+)( .*)?$/\2/p')
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -o default -F _veranti veranti
