# Completion of modforge for fish.
complete -c modforge -o c -d 'Leave .cinit an ordinary section'
complete -c modforge -a '-e=' -d 'Entries file'
complete -c modforge -o fc -d 'Write the module as text for a C array'
complete -c modforge -s h -d 'Help'
complete -c modforge -a '-o=' -d 'Output file'
complete -c modforge -a '-p=300 -p=512 -p=1024' -d 'Most bytes in a packet'
complete -c modforge -s q -d 'Do not warn about entries that match nothing'
complete -c modforge -s s -d 'Names, section headers and symbols only'
