#!/usr/bin/env bash
# The demonstration of examples/roam-demo.sh comes to its end, leaves nothing, and ends early with tools
# that say what it wants to hear and do something else. Usage: roamdemo.sh ROOT BUILD
set -euo pipefail
root=$1 build=$2
[ -x "$build/bin/indexuserctl-roam" ] || { echo 'Left out: built without PostgreSQL'; exit 77; }
[ -n "$(find /usr/lib/postgresql/*/bin -name initdb 2>/dev/null)" ] ||
    { echo 'Left out: there is no server, which the package postgresql-15 brings'; exit 77; }
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
chmod 711 "$scratch"
export TOOL="$build/bin/indexuserctl" TMPDIR="$scratch/t"
mkdir -m 711 "$TMPDIR"
status=0

demo() { "$root/examples/roam-demo.sh" "$1" >"$scratch/out" 2>&1; }
# Whatever its end: neither files nor a server.
left() {
    [ -z "$(ls -A "$TMPDIR")" ] || { echo "left: $(ls -A "$TMPDIR")"; status=1; }
    ! pgrep -f "postgres.* -D $TMPDIR" || { echo 'a server is left'; status=1; }
}

demo "$TOOL" || { cat "$scratch/out"; status=1; }
grep -q '^# The demonstration is over' "$scratch/out" || { echo 'it has no end'; status=1; }
left

# lies WHAT WORDS COMMAND: with a tool that does COMMAND where the words match.
lies() {
    # shellcheck disable=SC2016
    printf '#!/usr/bin/env bash\ncase " $* " in\n%s) %s ;;\nesac\nexec "$TOOL" "$@"\n' "$2" "$3" >"$scratch/liar"
    chmod 755 "$scratch/liar"
    if demo "$scratch/liar"; then
        echo "is not noticed: $1"
        status=1
    fi
    grep -q '^roam-demo: ' "$scratch/out" || { echo "not told: $1"; cat "$scratch/out"; status=1; }
    left
}
# shellcheck disable=SC2016
{
    lies 'a push that only says so' '*" a roam push "*' 'echo sent as revision 1; exit 0'
    lies 'a pull that only says so' '*" a roam pull "*' 'echo took revision 5; exit 0'
    lies 'a restoration that only says so' '*" roam restore "*' 'echo revision 6 holds what revision 3 does; exit 0'
}
exit $status
