# Completion of velmdump for fish: commands and options are asked of the program's own help.
function __velmdump_commands
    velmdump --help 2>/dev/null | awk '/^Commands:$/ { on = 1; next } /^[A-Z]/ { on = 0 }
        on && /^  [a-z]/ { name = $1; sub(/^  [^ ]+ +/, ""); print name "\t" $0 }'
end
function __velmdump_options
    set -l words (commandline -opc)
    set -l command
    for word in $words[2..-1]
        if __velmdump_commands | string match -q -- "$word"\t'*'
            set command $word
            break
        end
    end
    velmdump $command --help 2>/dev/null | awk '/^Options:$/ { on = 1; next } /^[A-Z]/ { on = 0 }
        on && /^  -/ { text = $0; sub(/^  [^ ].*[^ ]  +/, "", text)
            for (i = 1; i <= NF && $i ~ /^-/; ++i) { sub(/,$/, "", $i); sub(/\[.*/, "", $i); print $i "\t" text } }'
end
complete -c velmdump -n __fish_use_subcommand -a '(__velmdump_commands)'
complete -c velmdump -n 'string match -q -- "-*" (commandline -ct)' -a '(__velmdump_options)'
