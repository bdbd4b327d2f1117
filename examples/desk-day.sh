#!/usr/bin/env bash
# A day at the support desk, from a complaint to fifty users. It is to be read from top to bottom, shows
# what one would type and see, and insists on it: it fails where the tool answers otherwise. It works on
# copies of the sample user, which go with it.
# Usage: examples/desk-day.sh [INDEXUSERCTL]; without one it is the tool that ./run has built.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
tool=$(realpath "${1:-$root/build/release/bin/indexuserctl}")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
today=$(date +%Y%m%d) yesterday=$(date -d yesterday +%Y%m%d)

. "$root/examples/typing.sh"

# holds FILE TEXT: what a file says itself, whatever the tool tells of it.
holds() { grep -qF -- "$2" "$1" || fail "no '$2' in $1"; }
# same FILE FILE2: byte for byte.
same() { cmp "$1" "$2" || fail "$1 has changed"; }

tell 'Yesterday Li put a stock on his list. The client left a copy of that save; a night goes by.'
cp -r "$root/examples/user" li
see 0 'saved ' --config-dir li stock add 7 SH 601012 隆基绿能
mv "li/Temp/indexUserConfig.xml_$today" "li/Temp/indexUserConfig.xml_$yesterday"

tell 'This morning a script went wrong, and Li chose other windows. Here the tool does both.'
see 0 'saved ' --config-dir li option set reportRefreshTime=5000
see 0 'saved ' --config-dir li stock remove 0 SH 600519
see 0 'saved ' --config-dir li template apply 期权
cp li/indexUserConfig.xml complaint.xml

tell '9:05, Li calls: quotes stand still for seconds, and Moutai is gone. Is his file in order?'
see 0 '1 in order' --config-dir li check

tell 'It is, so somebody has changed it. What, since yesterday? Ten times the refresh time, and the stock.'
see 1 'options 1, stocks 1' --config-dir li snapshot diff yesterday
see 1 'reportRefreshTime' --config-dir li diff "li/Temp/indexUserConfig.xml_$yesterday" li/indexUserConfig.xml

tell 'His windows look different as well; a picture says how.'
see 0 'li.svg' --config-dir li layout draw --against yesterday --out li.svg
holds li.svg '1 changed, 0 new, 3 gone'

tell 'Yesterday, then. First what that would do, which changes nothing; then in earnest.'
see 0 'reportRefreshTime' --config-dir li snapshot restore yesterday --dry-run
same li/indexUserConfig.xml complaint.xml
see 0 'brought back' --config-dir li snapshot restore yesterday
same li/indexUserConfig.xml "li/Temp/indexUserConfig.xml_$yesterday"

tell 'Li: not my windows, those were meant! Undo gives him the very bytes that he had.'
see 0 'brought back' --config-dir li undo
same li/indexUserConfig.xml complaint.xml

tell 'So only what went wrong: a patch from now to yesterday, which leaves windows alone and says so.'
see 1 'left out: layouts 6' diff --patch fix.json complaint.xml "li/Temp/indexUserConfig.xml_$yesterday"
see 0 'stocks  0                  fits' --config-dir li apply --dry-run fix.json
same li/indexUserConfig.xml complaint.xml
see 0 'saved ' --config-dir li apply fix.json
see 0 '贵州茅台' --config-dir li stock find SH600519
see 1 'layouts 6' --config-dir li snapshot diff yesterday
holds li/indexUserConfig.xml 'reportRefreshTime="500"'

tell 'The script was on fifty more machines. Number 13 has helped himself meanwhile.'
mkdir floor
for number in $(seq 50); do
    mkdir "floor/$number"
    cp complaint.xml "floor/$number/indexUserConfig.xml"
done
see 0 'saved ' --config-dir floor/13 option set reportRefreshTime=750

tell 'The same patch for all of them. Whoever has something else than it was made of is left alone.'
see 1 'what the patch was made of is no more: option reportRefreshTime' apply fix.json --users 'floor/*'
sed '1,/^50 users/d' answer
holds answer '  ok        49'
[ "$(grep -lr --include=indexUserConfig.xml 'reportRefreshTime="500"' floor | wc -l)" -eq 49 ] || fail 'not all have it'
holds floor/13/indexUserConfig.xml 'reportRefreshTime="750"'

tell 'What remains: one page for the manager, with what has become of Li since yesterday.'
see 0 'li.html' --config-dir li report --against yesterday --out li.html
holds li.html 'What changed since'
holds li.html 'apply fix.json'
tell 'The day is over: Li has his stock and his windows, 49 others theirs, and nobody lost anything.'
