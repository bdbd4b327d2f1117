# Sourced by the scripts here: what one would type, and what one would see. They set $tool.
# shellcheck shell=bash

tell() { printf '\n\n# %s\n' "$*"; }
fail() { printf '%s: %s\n' "$(basename "$0" .sh)" "$*" >&2; exit 1; }

# see STATUS TEXT WORDS...: types the words, shows the answer, and insists on its status and on a text.
see() {
    local wanted=$1 text=$2 status=0
    shift 2
    printf '\n$ indexuserctl %s\n' "$*"
    "$tool" "$@" >answer 2>&1 || status=$?
    sed -n 1,20p answer
    [ $status -eq "$wanted" ] || fail "status $status instead of $wanted of: $*"
    grep -qF -- "$text" answer || fail "no '$text' in the answer to: $*"
}
