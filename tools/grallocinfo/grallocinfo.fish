# fish completion for grallocinfo. The tool itself knows what may follow.

function __grallocinfo
    set -l words (commandline -opc)
    # The word that is being typed, without a quote that is open and without backslashes.
    set -l word (string replace -r '^["\']' '' -- (commandline -ct) | string replace -a '\\' '')
    for line in ($words[1] __complete $words[2..-1] "$word" 2>/dev/null)
        if test $line = :files
            __fish_complete_path $word
        else
            echo $line
        end
    end
end

complete -c grallocinfo -f -a '(__grallocinfo)'
