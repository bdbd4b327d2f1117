# Bash completion of indexuserctl, and of ./run in its source tree. The tool itself knows what can
# follow.
_indexuserctl() {
    local candidate tool=${COMP_WORDS[0]}
    local words=("${COMP_WORDS[@]:1:COMP_CWORD}")
    if [[ $tool == ./run ]]; then
        # The tool of the last build: a build takes longer than anybody waits for a word.
        tool=build/release/bin/indexuserctl
        words=(--config-dir "$([ -d build/user ] && echo build/user || echo examples/user)" "${words[@]}")
    fi
    COMPREPLY=()
    while IFS= read -r candidate; do
        # An option's name is completed up to its '='; the value is typed.
        [[ $candidate != *= ]] || compopt -o nospace
        COMPREPLY+=("$(printf '%q' "$candidate")")
    done < <("$tool" complete "${words[@]}" 2>/dev/null)
}
complete -o default -F _indexuserctl indexuserctl ./run
