# bash completion for grallocinfo

# The names that the tool itself lists, so that the two cannot disagree.
_grallocinfo_formats() {
    grallocinfo formats 64x64 2>/dev/null | awk 'NR > 3 { print $2 }'
}

_grallocinfo_options() {
    case $1 in
    query) echo --usage --force --json --svg --draw --backend --verbose --help ;;
    formats) echo --usage --json --verbose --help ;;
    name) echo --format --usage --dataspace --json --verbose --help ;;
    diff) echo --json --exit-code --help ;;
    watch) echo --json --help ;;
    share) echo --usage --once --json --verbose --help ;;
    attach) echo --json --png --fill --verbose --help ;;
    run) echo --profile --help ;;
    *) echo query formats name diff watch share attach run --help --version ;;
    esac
}

# The value of the option before the cursor; fails when it takes none.
_grallocinfo_values() {
    case $1 in
    --format) compgen -W "$(_grallocinfo_formats)" -- "$2" ;;
    --backend) compgen -W "aidl hidl" -- "$2" ;;
    --fill) compgen -W "bars ramp checker" -- "$2" ;;
    --svg | --png) compgen -f -- "$2" ;;
    --profile) compgen -f -W "all default" -- "$2" ;;
    --usage | --dataspace) ;;
    *) return 1 ;;
    esac
}

_grallocinfo() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local command=""
    ((COMP_CWORD > 1)) && command=${COMP_WORDS[1]}

    local values
    if values=$(_grallocinfo_values "$before" "$word"); then
        mapfile -t COMPREPLY <<<"$values"
    elif [[ $command == run && " ${COMP_WORDS[*]:2:COMP_CWORD-2} " == *" -- "* ]]; then
        mapfile -t COMPREPLY < <(compgen -fc -- "$word")
    elif [[ $word == -* || -z $command ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_grallocinfo_options "$command")" -- "$word")
    elif [[ $command == @(query|share) && $COMP_CWORD -eq 2 ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_grallocinfo_formats)" -- "$word")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
    fi
}

complete -F _grallocinfo grallocinfo
