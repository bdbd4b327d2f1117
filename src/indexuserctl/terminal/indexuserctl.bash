# Bash completion of indexuserctl. The tool itself knows what can follow.
_indexuserctl() {
    local candidate
    COMPREPLY=()
    while IFS= read -r candidate; do
        # An option's name is completed up to its '='; the value is typed.
        [[ $candidate != *= ]] || compopt -o nospace
        COMPREPLY+=("$(printf '%q' "$candidate")")
    done < <("${COMP_WORDS[0]}" complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
}
complete -o default -F _indexuserctl indexuserctl
