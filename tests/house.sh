#!/usr/bin/env bash
# Arrows point down only, files and functions stay short and formatted. Usage: house.sh ROOT
set -euo pipefail
cd "$1"
status=0

# The drawing of docs/design.md, a line a folder: its name, what it is, "->" and what it includes.
drawing=$(sed -n '/^## The house/,/^Arrows/p' docs/design.md | sed -nE '
    s/^    (index[a-z\/]+) /\1 /p
    s/^      ([a-z]+) /indexuserctl\/\1 /p')
there=$(cd src && ls -d indexmodel/*/ indexuserctl/ indexuserctl/*/ | sed 's:/$::')
diff <(cut -d' ' -f1 <<<"$drawing" | sort) <(sort <<<"$there") ||
    { echo 'docs/design.md draws other folders (left) than there are (right)'; status=1; }
rooms=$(sed -n 's:^indexmodel/::p' <<<"$there" | paste -sd '|')
while read -r folder told; do
    case $folder in indexuserctl/*) continue ;; esac
    arrows=$(sed -nE 's/.*-> *//p' <<<"$told" | tr -d ' ' | tr ',' '\n' | sort)
    includes=$(grep -rhoE "#include [<\"]($rooms)/" "src/$folder" | sed -E 's:.*[<"](.*)/:\1:' |
        sort -u | grep -vx "${folder#indexmodel/}" || true)
    # Down is further down in the drawing.
    below=$(sed "0,/^${folder//\//\\/} /d" <<<"$drawing" | sed -n 's:^indexmodel/\([a-z]*\) .*:\1:p')
    up=$(grep -vxF "$below" <<<"$arrows" | grep . || true)
    [ -z "$up" ] || { echo "src/$folder: arrows that do not point down: $up"; status=1; }
    other=$(grep -rnE "#include [<\"]($rooms)/.*_p\.h" "src/$folder" |
        grep -vE "#include [<\"]${folder#indexmodel/}/" || true)
    [ -z "$other" ] || { echo "internals of another room: $other"; status=1; }
    diff <(echo "$arrows") <(echo "$includes") || {
        echo "src/$folder: docs/design.md draws other arrows (left) than it includes (right)"
        status=1
    }
done <<<"$drawing"

long=$(find src tests examples bench fuzz -name '*.cpp' -o -name '*.h' | xargs wc -l |
    awk '$2 != "total" && $1 > 500 { print $2 ": " $1 " lines, at most 500" }')
[ -z "$long" ] || { echo "$long"; status=1; }
# From the line of its name to its last; what is all capitals is a macro.
functions=$(ctags -x --languages=C++ --c++-kinds=f --_xformat='%F %n %e %N' \
    -R src tests examples bench fuzz)
[ "$(wc -l <<<"$functions")" -gt 500 ]
long=$(awk '$3 - $2 >= 40 && $4 !~ /^[A-Z_0-9]+$/ {
    print $1 ":" $2 ": " $4 " has " $3 - $2 + 1 " lines, at most 40" }' <<<"$functions")
[ -z "$long" ] || { echo "$long"; status=1; }
find src tests examples bench fuzz -name '*.cpp' -o -name '*.h' |
    xargs clang-format --dry-run -Werror || status=1
exit $status
