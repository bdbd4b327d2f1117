#!/usr/bin/env bash
# What ./run does around the build, with tools that only note that they were called: packages,
# configuring, progress, the copy of the sample user. Usage: run.sh ROOT
set -euo pipefail
root=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
place="$scratch/a place"
mkdir -p "$place/examples" "$scratch/tools" "$scratch/elsewhere"
cp -r "$root/run" "$root/scripts" "$root/CMakePresets.json" "$place"
cp -r "$root/examples/user" "$place/examples"
cd "$scratch/elsewhere"
status=0

# tool NAME TEXT: a program of that name; calls are noted by name.
tool() {
    printf '#!/bin/sh\necho %s >>"%s/calls"\n%s\n' "$1" "$scratch" "$2" >"$scratch/tools/$1"
    chmod 755 "$scratch/tools/$1"
}
# shellcheck disable=SC2016
{
    tool dpkg-query 'shift 2; for each; do echo "$each installed"; done'
    tool apt-get 'echo "pmstatus:g++:40.5:Unpacking"; sleep 2'
    tool sudo 'exec "$@"'
    # --fresh --preset NAME
    tool cmake 'mkdir -p "build/$3"; echo "INDEXUSER_ROAMING:BOOL=${ROAMING-ON}" >"build/$3/CMakeCache.txt"'
    # -C DIR TARGET
    tool ninja 'echo "[1/2] one"; echo "[2/2] two"; mkdir -p "$2/bin"
        [ -e "$2/bin/indexuserctl" ] || {
            printf "#!/bin/sh\nprintf \"<%%s>\" \"\$@\"; echo\n" >"$2/bin/indexuserctl"
            chmod 755 "$2/bin/indexuserctl"
        }'
}
run() { LC_ALL=C PATH="$scratch/tools:$PATH" "$place/run" "$@"; }
calls() { sort "$scratch/calls" | uniq -c | awk '{ printf "%s%s %d", sep, $2, $1; sep = ", " }'; : >"$scratch/calls"; }

# expect WHAT WANTED GOT
expect() {
    [ "$2" = "$3" ] || { printf '%s:\n  wanted: %s\n  got:    %s\n' "$1" "$2" "$3"; status=1; }
}
# holds WHAT PATTERN TEXT
holds() {
    # shellcheck disable=SC2053
    [[ $3 == $2 ]] || { printf '%s:\n  wanted: %s\n  got:    %s\n' "$1" "$2" "$3"; status=1; }
}

user="$place/build/user"
expect 'the words are handed on' "<--config-dir><$user><option><set><a=b c>" "$(run option set 'a=b c' 2>/dev/null)"
expect 'a first run asks for packages, configures and builds' 'cmake 1, dpkg-query 1, ninja 1' "$(calls)"
run show >/dev/null 2>&1
expect 'a later run leaves all to ninja' 'ninja 1' "$(calls)"
expect 'without words it is the tour of the sample' "<--config-dir><$place/examples/user><tour>" "$(run 2>/dev/null)"

expect 'the sample is copied whole' '' "$(diff -r "$user" "$place/examples/user")"
expect 'nothing else is left beside it' 'release release.log user' "$(ls "$place/build" | paste -sd ' ')"
echo mine >"$user/mine"
run show >/dev/null 2>&1
expect 'the copy is kept' mine "$(cat "$user/mine")"
expect 'a new one is made when asked for' "<--config-dir><$user><show>" "$(run --fresh show 2>/dev/null)"
expect 'and holds the sample only' '' "$(diff -r "$user" "$place/examples/user")"
holds 'alone it only makes it anew' '*is as*again' "$(run --fresh 2>/dev/null)"
rm -rf "$user"
for each in 1 2 3 4; do run show >"$scratch/at-once.$each" 2>&1 & done
wait
expect 'of four first runs at once each has it' 4 "$(cat "$scratch"/at-once.* | grep -c '<show>')"
expect 'and nothing else is left' 'release release.log user' "$(ls "$place/build" | paste -sd ' ')"
: >"$scratch/calls"
expect "the caller's directory wins" '<--config-dir><x y><show>' "$(run --config-dir 'x y' show 2>/dev/null)"
expect 'a word that only speaks of it does not' \
    "<--config-dir><$user><setting><set><note><see --config-dir in the help>" \
    "$(run setting set note 'see --config-dir in the help' 2>/dev/null)"
expect "in either form" '<show><--config-dir=x>' "$(run show --config-dir=x 2>/dev/null)"
: >"$scratch/calls"

expect 'what roams has its packages asked for and is built' "<--config-dir><$user><roam><status>" "$(run roam status 2>/dev/null)"
expect 'besides the tool' 'dpkg-query 1, ninja 2' "$(calls)"
rm "$place/build/release/CMakeCache.txt"
run roam status >/dev/null 2>&1
expect 'a build without it is configured anew' 'cmake 1, dpkg-query 1, ninja 2' "$(calls)"
printf '#!/bin/sh\necho "demo $*"\n' >"$place/examples/roam-demo.sh"
chmod 755 "$place/examples/roam-demo.sh"
expect 'the demonstration is a script' 'demo ' "$(run roam demo 2>/dev/null)"
: >"$scratch/calls"

touch "$place/CMakePresets.json"
run show >/dev/null 2>&1
expect 'new presets configure anew' 'cmake 1, dpkg-query 1, ninja 1' "$(calls)"
touch "$place/scripts/prepare.sh"
run show >/dev/null 2>&1
expect 'new lists of packages are asked for' 'cmake 1, dpkg-query 1, ninja 1' "$(calls)"
mv "$place" "$scratch/moved"
place=$scratch/moved
run show >/dev/null 2>&1
expect 'another place configures anew' 'cmake 1, dpkg-query 1, ninja 1' "$(calls)"

# On a terminal one line that moves; elsewhere nothing before 20 s.
on_terminal=$(PATH="$scratch/tools:$PATH" script -qec "'$place/run' show" /dev/null </dev/null | tr '\r' '\n')
holds 'a terminal shows the steps' '*Building release: 1 of 2 steps, 0:0?*Building release: 2 of 2 steps, 0:0?*' "$on_terminal"
holds 'elsewhere a quick build is quiet' '<--config-dir>*' "$(run show 2>&1)"
tool ninja 'echo "[1/2] one"; sleep 21; echo "[2/2] two"'
holds 'a slow one tells every 20 s' '*Building release: ? of 2 steps, 0:2?*' "$(run show 2>&1)"

expect 'the log holds what was said, and nothing else' '[1/2] one [2/2] two' \
    "$(paste -sd ' ' "$place/build/release.log")"

tool ninja 'echo what is wrong; exit 1'
holds 'a failed build shows what was said' '*Failed: ninja*what is wrong*' "$(run show 2>&1 || true)"
run show >/dev/null 2>&1 && expect 'a failed build fails' failure success
: >"$scratch/calls"

# Missing packages are installed as root; who is not root and cannot become it is told their names.
rm -r "$place/build"
# shellcheck disable=SC2016
tool dpkg-query 'shift 2; for each; do [ "$each" = cmake ] || echo "$each installed"; done; exit 1'
tool ninja 'mkdir -p "$2/bin"; printf "#!/bin/sh\n" >"$2/bin/indexuserctl"; chmod 755 "$2/bin/indexuserctl"'
holds 'missing packages are named and installed' 'Installing cmake*' "$(run show 2>&1)"
holds 'by root' 'apt-get 2, *' "$(calls)"
rm -rf "$place/build" "$scratch/tools/sudo"
tool id 'echo 1000'
mkdir "$scratch/bin"
for each in bash env mktemp cp mv rm sort cat tail dirname grep cut mkdir; do ln -s "$(command -v $each)" "$scratch/bin"; done
out=$(PATH="$scratch/tools:$scratch/bin" "$place/run" show 2>&1) && status=1
expect 'without root their names are told' \
    'These packages are missing, and root can install them: apt-get install cmake' "$out"

# Nobody's tools: a directory that may not be written is one line, not a trace.
rm -rf "$place/build" "$scratch/tools/id"
# shellcheck disable=SC2016
tool dpkg-query 'shift 2; for each; do echo "$each installed"; done'
echo >"$place/build"
holds 'a build directory that cannot be written is named' \
    "*$place/build cannot be written: *" "$(run show 2>&1 || true)"
exit $status
