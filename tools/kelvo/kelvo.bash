# Completion of kelvo's command lines in bash. The program says what may come next; where it has
# nothing to say, names of files do.
_kelvo() {
    mapfile -t COMPREPLY < <("$1" complete -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
    # Behind the beginning of a path comes the rest of it.
    if [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == */ ]]; then compopt -o nospace; fi
}
complete -o bashdefault -o default -F _kelvo kelvo
