# bash completion for grallocinfo. The tool itself knows what may follow.

_grallocinfo() {
    local words=("${COMP_WORDS[@]:1:COMP_CWORD}") line quote=
    local -i last=COMP_CWORD-1
    # The word that is being typed as the tool would get it: without its quotes and backslashes.
    [[ ${words[last]} == [\"\']* ]] && quote=${words[last]:0:1} && words[last]=${words[last]:1}
    words[last]=${words[last]//\\/}
    COMPREPLY=()
    while IFS= read -r line; do
        if [[ $line == :files ]]; then
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "${words[last]}")
        elif [[ $quote ]]; then
            COMPREPLY+=("$line")
        else
            COMPREPLY+=("$(printf '%q' "$line")")
        fi
    done < <("${COMP_WORDS[0]}" __complete "${words[@]}" 2>/dev/null)
}

complete -F _grallocinfo grallocinfo
