# Completion of gbe for bash: the program itself knows what a word may become.
_gbe() {
    local line=${COMP_LINE:0:COMP_POINT} words found
    read -ra words <<<"$line"
    [[ $line == *[[:space:]] ]] && words+=("")
    mapfile -t found < <("${words[0]}" complete -- "${words[@]:1}" 2>/dev/null | cut -f1)
    # Readline has cut the word at these, and wants what is behind the last of them.
    local word=${words[-1]}
    COMPREPLY=("${found[@]#"${word%"${word##*[=:]}"}"}")
    [[ ${#found[@]} -eq 1 && ${found[0]} == *= ]] && compopt -o nospace
    return 0
}
complete -o default -F _gbe gbe
