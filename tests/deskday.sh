#!/usr/bin/env bash
# The day of examples/desk-day.sh goes by with the tool, and ends early with tools that say what it
# wants to hear and do something else. Usage: deskday.sh ROOT BUILD
set -euo pipefail
root=$1 build=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export TOOL="$build/bin/indexuserctl"
status=0

day() { "$root/examples/desk-day.sh" "$1" >"$scratch/day" 2>&1; }

day "$TOOL" || { cat "$scratch/day"; status=1; }
grep -q '^# The day is over' "$scratch/day" || { echo 'the day has no end'; status=1; }

# lies WHAT WORDS COMMAND: with a tool that does COMMAND where the words match.
lies() {
    # shellcheck disable=SC2016
    printf '#!/usr/bin/env bash\ncase " $* " in\n%s) %s ;;\nesac\nexec "$TOOL" "$@"\n' "$2" "$3" >"$scratch/liar"
    chmod 755 "$scratch/liar"
    if day "$scratch/liar"; then
        echo "is not noticed: $1"
        status=1
    fi
    grep -q '^desk-day: \|differ: ' "$scratch/day" || { echo "not told: $1"; cat "$scratch/day"; status=1; }
}
# shellcheck disable=SC2016
{
    lies 'a check of nothing' '*" check "*' 'echo "0 files"; exit 0'
    lies 'a comparison that finds nothing' '*" snapshot diff "*' 'exit 0'
    lies 'a picture of nothing' '*" draw "*' 'echo li.svg; echo >li.svg; exit 0'
    lies 'a dry run that writes' '*" --dry-run "*' 'exec "$TOOL" "${@/--dry-run/--force}"'
    lies 'an undo that only says so' '*" undo "*' 'echo brought back; exit 0'
    lies 'an undo that formats' '*" undo "*' '"$TOOL" "$@" && echo >>li/indexUserConfig.xml; exit 0'
    lies 'a patch that only says so' '*" apply fix.json "*' '"$TOOL" "$@" --dry-run; echo "saved "; exit 0'
    lies 'a patch onto everybody' '*" apply fix.json "*' 'exec "$TOOL" "$@" --force'
    lies 'an empty page' '*" report "*' 'echo li.html; echo >li.html; exit 0'
}
exit $status
