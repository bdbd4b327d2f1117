#!/usr/bin/env bash
# ./prove kills with a sweep that only says what it was asked: where it goes on, when it begins anew,
# what it does not accept. Usage: prove.sh ROOT
set -euo pipefail
root=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tree=$work/tree
bin=$tree/build/proof/bin
lib=$tree/build/proof/lib
mkdir -p "$tree"/{scripts,docs,tests/faults} "$bin" "$lib"
cp "$root/prove" "$tree"
printf '%s\n' '<!-- kills -->' 'old' '<!-- /kills -->' '<!-- roaming -->' '<!-- /roaming -->' \
    >"$tree/docs/reliability.md"
printf '%s\n' 'packages=() test_packages=() roaming_packages=()' 'need() { :; }' 'build() { :; }' >"$tree/scripts/prepare.sh"
echo 'print("Timed kills: 3 runs")' >"$tree/tests/faults/timedkills.py"
touch "$bin"/{savedriver,indexuserctl} "$lib"/libindexuser{,_standalone}.so
cat >"$bin/sweep" <<'END'
#!/usr/bin/env bash
echo "$*" >>"$CALLS"
[ "$1" = random ] || { printf '%s\n' 'Save, 40 calls: 80 runs, 0 lost' '| a\n|b |'; exit 0; }
[ "$2" -le "$STOP" ] || exit 9
echo "$(($2 - $4)) random kills (seed $3, from $4), $((($2 - $4) * PERCENT / 100)) saves ended in between, 0 lost"
END
chmod +x "$bin/sweep"
cat >"$bin/roamproof" <<'END'
#!/usr/bin/env bash
echo "$*" >>"$CALLS"
[ "$3" != "${FAILS:-}" ] || { echo '| bad | 1 s | 1 lost |'; exit 1; }
echo "| the server killed: $3 | $2 s | 0 lost |"
END
chmod +x "$bin/roamproof"
export CALLS=$work/calls STOP=1500 PERCENT=50 KILLS=1500 SEED=7

failed=0
fail() { echo "prove: $*"; failed=1; }
kills() { : >"$CALLS"; "$tree/prove" kills >"$work/out" 2>"$work/err"; }
expect() { [ "$(grep random "$CALLS" | paste -sd ,)" = "$1" ] || fail "$2: $(cat "$CALLS")"; }
breaks_off() { ! STOP=$1 kills || fail "a sweep that fails goes unnoticed"; }

kills || fail "kills: $(cat "$work/err")"
expect 'random 500 7 0,random 1000 7 500,random 1500 7 1000' 'all in pieces'
grep -q '^Random kills: 1500 runs, 750 saves ended in between, 0 lost$' "$tree/docs/reliability.md" ||
    fail "the page: $(cat "$tree/docs/reliability.md")"

grep -q '^Timed kills: 3 runs$' "$tree/docs/reliability.md" || fail "the page is without timed kills"
grep -qF '| a\n|b |' "$tree/docs/reliability.md" || fail "the page loses a backslash"

# Whatever was being written then.
for rest in '' '500 random kills (seed 7, fr'; do
    breaks_off 500
    printf '%s' "$rest" >>"$tree/build/prove/kills.state"
    kills || fail "after a half line: $(cat "$work/err")"
    expect 'random 1000 7 500,random 1500 7 1000' "counts whole pieces only after '$rest'"
done
: >"$tree/build/prove/kills.state"
kills || fail "an empty state: $(cat "$work/err")"
expect 'random 500 7 0,random 1000 7 500,random 1500 7 1000' 'an empty state is none'

breaks_off 500
SEED=8 kills || fail "going on: $(cat "$work/err")"
expect 'random 1000 7 500,random 1500 7 1000' 'goes on where it was broken off, with its seed'

for changed in "$bin"/{savedriver,indexuserctl} "$lib"/libindexuser{,_standalone}.so; do
    breaks_off 1000
    echo changed >>"$changed"
    SEED=8 kills || fail "anew: $(cat "$work/err")"
    expect 'random 500 8 0,random 1000 8 500,random 1500 8 1000' "begins anew after $changed"
    grep -q 'begin anew' "$work/err" || fail "does not say that it begins anew"
    grep -q '^Random kills: 1500 runs' "$tree/docs/reliability.md" || fail "counts older kills"
done

cp "$tree/docs/reliability.md" "$work/page"
! PERCENT=33 kills || fail "too few saves in between are accepted"
grep -q 'fewer than a third' "$work/err" || fail "does not say that saves are too few"
cmp -s "$tree/docs/reliability.md" "$work/page" || fail "too few saves came into the page"

scenarios='clients crashes unsynced failover kills password standby full documents'
: >"$CALLS"
SECONDS_EACH=5 "$tree/prove" roaming >"$work/out" 2>"$work/err" || fail "roaming: $(cat "$work/err")"
[ "$(awk '{ print $3 }' "$CALLS" | paste -sd ' ')" = "$scenarios" ] || fail "roaming: $(cat "$CALLS")"
[ "$(grep -c '^| the server killed: .* | 5 s | 0 lost |$' "$tree/docs/reliability.md")" -eq 9 ] ||
    fail "the page is without the scenarios of roaming"
cp "$tree/docs/reliability.md" "$work/page"
! FAILS=password "$tree/prove" roaming >"$work/out" 2>&1 || fail "a loss of roaming goes unnoticed"
cmp -s "$tree/docs/reliability.md" "$work/page" || fail "a loss of roaming came into the page"
exit $failed
