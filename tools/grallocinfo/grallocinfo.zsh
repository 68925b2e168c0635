#compdef grallocinfo
# zsh completion for grallocinfo. The tool itself knows what may follow.

local -a candidates
candidates=("${(@f)$($words[1] __complete "${(@Q)words[2,CURRENT-1]}" "${(Q)PREFIX}" 2>/dev/null)}")
if [[ $candidates[1] == :files ]]; then
    _files
elif [[ -n $candidates[1] ]]; then
    compadd -U -- $candidates
fi
