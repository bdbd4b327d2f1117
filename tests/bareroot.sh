#!/usr/bin/env bash
# What tests/bare.sh and .ci/run do around the bare machine, with tools that only pretend: when it is
# left out, and what is left of one that was broken off. Usage: bareroot.sh ROOT
set -euo pipefail
root=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
tree="$scratch/a tree"
mkdir -p "$tree"/{tests,scripts,.ci,build} "$scratch/tools"
cp "$root/tests/bare.sh" "$tree/tests"
cp "$root/scripts/prepare.sh" "$tree/scripts"
cp "$root/.ci/run" "$tree/.ci"
status=0

tool() {
    printf '#!/bin/sh\n%s\n' "$2" >"$scratch/tools/$1"
    chmod 755 "$scratch/tools/$1"
}
for each in debootstrap apt-get git unshare; do tool $each 'exit 0'; done
tool id 'echo 0'
# shellcheck disable=SC2016
tool setpriv 'echo "ran $*" >>"$RAN"; exec sleep "$LASTS"'
export RAN=$scratch/ran LASTS=0 PATH="$scratch/tools:$PATH"

# expect WHAT WANTED GOT
expect() {
    # shellcheck disable=SC2053
    [[ $3 == $2 ]] || { printf '%s:\n  wanted: %s\n  got:    %s\n' "$1" "$2" "$3"; status=1; }
}
bare() { "$tree/tests/bare.sh" "$@" 2>&1 && echo "status 0" || echo "status $?"; }
left() { find "$tree/build/bare" -name 'run.*' | wc -l; }

expect 'a command runs' 'status 0' "$(bare ./run 'a b')"
expect 'inside, as it was given' 'ran *unshare *--inside run.* ./run a b' "$(tail -n 1 "$RAN")"
expect 'its root is gone then' 0 "$(left)"
expect 'without a command' 'usage: *status 2' "$(bare)"
expect 'with an option' 'usage: *status 2' "$(bare --help)"

LASTS=60 "$tree/tests/bare.sh" true &
while [ "$(left)" -eq 0 ]; do sleep 0.05; done
kill -TERM $!
wait $! && status=1
expect 'broken off it leaves nothing' 0 "$(left)"
LASTS=2 "$tree/tests/bare.sh" true &
while [ "$(left)" -eq 0 ]; do sleep 0.05; done
kill -KILL $!
wait $! 2>/dev/null || true
expect 'the next one waits for what goes on' '*Waiting*status 0' "$(bare true)"
expect 'and removes what is left of it' 0 "$(left)"

# left_out WHY: one line, and a status of its own.
left_out() {
    expect "left out: $1" "No bare machine here, left out: *$1*status 77" "$(bare true)"
    expect "left out: $1: lines" 2 "$(bare true | wc -l)"
}
tool unshare 'exit 1'
left_out 'mount space'
tool id 'echo 1000'
left_out root
tool id 'echo 0'
rm "$scratch/tools/debootstrap"
hidden=$scratch/hidden
mkdir "$hidden"
for each in bash dirname find wc; do ln -s "$(command -v $each)" "$hidden"; done
PATH="$scratch/tools:$hidden" left_out debootstrap

# CI runs both commands there, or the tests here.
printf '#!/bin/sh\necho "bare $*"; [ "$BARE" != "$1" ] || exit "$STATUS"\n' >"$tree/tests/bare.sh"
printf '#!/bin/sh\necho "0 tests failed out of 1"\n' >"$tree/test"
chmod 755 "$tree/test"
printf 'need() { :; }\n' >"$tree/scripts/prepare.sh"
ci() { "$tree/.ci/run" 2>&1 && echo "status 0" || echo "status $?"; }
export BARE=none STATUS=77
expect 'both in a row' 'bare true bare ./run bare ./test status 0' "$(ci | paste -sd ' ')"
export BARE=true
expect 'elsewhere the tests' '*left out*0 tests failed out of 1*status 0' "$(ci)"
export BARE=./run
expect 'a run that fails fails' 'bare true bare ./run status 77' "$(ci | paste -sd ' ')"
export BARE=./test STATUS=8
expect 'tests that fail fail' 'bare true bare ./run bare ./test status 8' "$(ci | paste -sd ' ')"
exit $status
