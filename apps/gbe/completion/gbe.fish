# Completion of gbe for fish: the program itself knows what a word may become.
function __gbe_complete
    set -l words (commandline -opc) (commandline -ct)
    $words[1] complete -- $words[2..-1] 2>/dev/null
end
complete -c gbe -n 'count (__gbe_complete) >/dev/null' -f
complete -c gbe -a '(__gbe_complete)'
