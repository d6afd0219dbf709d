# Completion of coffdump for fish: commands and options are asked of the program's own help.
function __coffdump_commands
    coffdump --help 2>/dev/null | awk '/^Commands:$/ { on = 1; next } /^[A-Z]/ { on = 0 }
        on && /^  [a-z]/ { name = $1; sub(/^  [^ ]+ +/, ""); print name "\t" $0 }'
end
function __coffdump_options
    set -l words (commandline -opc)
    set -l command
    for word in $words[2..-1]
        if __coffdump_commands | string match -q -- "$word"\t'*'
            set command $word
            break
        end
    end
    coffdump $command --help 2>/dev/null | awk '/^Options:$/ { on = 1; next } /^[A-Z]/ { on = 0 }
        on && /^  -/ { text = $0; sub(/^  [^ ].*[^ ]  +/, "", text)
            for (i = 1; i <= NF && $i ~ /^-/; ++i) { sub(/,$/, "", $i); sub(/\[.*/, "", $i); print $i "\t" text } }'
end
complete -c coffdump -n __fish_use_subcommand -a '(__coffdump_commands)'
complete -c coffdump -n 'string match -q -- "-*" (commandline -ct)' -a '(__coffdump_options)'
