#!/usr/bin/env bash
# Types the README's ./run lines in their order, in a copy of the tree whose path has a blank and
# without a locale, and compares with what it says behind them: # "text in the answer", exit STATUS.
# The other lines that the README has one type are package.sh's.
# Usage: readme.sh ROOT
set -euo pipefail
root=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
tree="$scratch/index user"
mkdir "$tree"
tar -C "$root" --exclude=./build --exclude=./.git -cf - . | tar -C "$tree" -xf -
cd "$tree"
export LC_ALL=C
failed=0 typed=0 compared=0

complain() {
    printf '%s\n  %s\n%s\n' "$1" "$2" "$(tail -n 20 "$scratch/out")"
    failed=1
}

# The tour prints the block of the README, whose … stands for anything.
tour() {
    ./run >"$scratch/out" 2>"$scratch/err" || complain 'fails' ./run
    local pattern
    pattern="*$(sed -n '/^## Two commands/,/^`.\/run ARGS/s/^    //p' README.md | sed 's/\[/\\[/g; s/…/*/g')"
    # shellcheck disable=SC2053
    [[ $(cat "$scratch/out") == $pattern ]] || complain 'prints something else' ./run
}

# type LINE: a command and, behind #, what is said of it.
type_line() {
    local command=${1%%  *#*} said='' wanted=0 got=0 text=''
    [[ $1 != *' # '* ]] || said=${1##* # }
    [[ ! $said =~ exit\ ([0-9]+) ]] || wanted=${BASH_REMATCH[1]}
    [[ ! $said =~ ^\"(.*)\" ]] || text=${BASH_REMATCH[1]}
    bash -c "$command" >"$scratch/out" 2>&1 </dev/null || got=$?
    typed=$((typed + 1))
    [ $got -eq "$wanted" ] || complain "exits with $got instead of $wanted" "$command"
    [ -n "$text" ] || return 0
    compared=$((compared + 1))
    grep -qF -- "$text" "$scratch/out" || complain "does not print $text" "$command"
}

files() { find . -path ./build -prune -o -print | sort; }
files >"$scratch/before"
tour
while IFS= read -r line; do
    type_line "$line"
done < <(sed -n 's/^    \(\.\/run .*\)/\1/p' README.md)
[ $typed -ge 45 ] && [ $compared -ge 40 ] || { echo "only $typed lines, $compared texts"; failed=1; }
files | diff "$scratch/before" - || { echo 'files are left in the source tree'; failed=1; }
exit $failed
