#!/usr/bin/env bash
# A change on its way from desk A to desk B, over a PostgreSQL server of its own: with a client that is
# killed, a server that is stopped, and two desks that have both changed. It is to be read from top to
# bottom, shows what one would type and see, and insists on it. It leaves no process and no file.
# Usage: examples/roam-demo.sh [INDEXUSERCTL]; without one it is the tool that ./run has built.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
tool=$(realpath "${1:-$root/build/release/bin/indexuserctl}")
. "$root/examples/typing.sh"
. "$root/examples/server.sh"
scratch=$(mktemp -d)
trap 'stop_server immediate; rm -rf "$scratch"' EXIT
trap 'exit 130' INT TERM HUP
chmod 711 "$scratch"
cd "$scratch"

# What the server itself says, whatever the tool tells of it.
sql() { psql -X -q -A -t -v ON_ERROR_STOP=1 -U postgres -c "$1"; }
# revisions N: so many there are, and no more.
revisions() { [ "$(sql 'select count(*) from roaming.revision')" -eq "$1" ] || fail "not $1 revisions"; }
# as LOGIN COMMAND...: somebody else, for that command.
as() {
    printf '\n$ export PGUSER=%s' "$1"
    PGUSER=$1 "${@:2}"
}
# holds FILE TEXT
holds() { grep -qF -- "$2" "$1" || fail "no '$2' in $1"; }

tell 'A server of its own, with the traders Li and Wang, and with Zhao of the support desk.'
start_server fsync=off
as postgres see 0 'The tables' roam init
sql 'create role li login; create role wang login; create role zhao login;
    grant roaming_trader to li, wang; grant roaming_desk to zhao'
export PGUSER=li

tell 'Li sits at desk A. Nothing of his was ever sent; a client would do it by itself.'
cp -r "$root/examples/user" a
see 1 'unsent' --config-dir a roam status
see 0 'sent as revision 1' --config-dir a roam push
see 0 'sent' --config-dir a roam status

tell 'He moves to desk B, a new machine: its first start takes what the server has.'
mkdir b
see 0 'took revision 1' --config-dir b roam pull
see 0 '贵州茅台' --config-dir b stock find 600519

tell 'At A he changes an option. The server has it, but before it can say so the client is killed.'
see 0 'saved ' --config-dir a option set reportRefreshTime=750
sql "alter system set synchronous_standby_names = 'nobody'"
sql 'select pg_reload_conf()' >answer
printf '\n$ indexuserctl --config-dir a roam push &\n'
"$tool" --config-dir a roam push >answer 2>&1 &
client=$!
waits="select count(*) from pg_stat_activity where wait_event = 'SyncRep'"
for _ in $(seq 100); do
    [ "$(sql "$waits")" -eq 0 ] || break
    sleep 0.1
done
[ "$(sql "$waits")" -eq 1 ] || fail 'the client does not wait for the server'
printf '$ kill -9 %s\n' "$client"
kill -9 "$client"
{ wait "$client" || true; } 2>/dev/null
sql 'alter system reset synchronous_standby_names'
sql 'select pg_reload_conf()' >answer
for _ in $(seq 100); do
    [ "$(sql "$waits")" -ne 0 ] || break
    sleep 0.1
done
revisions 2

tell 'So it is sent again, under the same number: nothing twice, and no conflict with himself.'
see 0 'sent as revision 2' --config-dir a roam push
revisions 2

tell 'The server is stopped at once, as if it had crashed. The file at A is the queue.'
stop_server immediate
see 0 'saved ' --config-dir a option set showGradient=0
see 3 'the server is away' --config-dir a roam push
see 3 'unsent' --config-dir a roam status
start_server
see 0 'sent as revision 3' --config-dir a roam push

tell 'Meanwhile somebody has changed the settings at B, too. Neither is lost: B keeps its file, the server both.'
see 0 'saved ' --config-dir b option set tickRestoreDay=7
see 1 'both have changed' --config-dir b roam pull
see 1 'stored as revision 4, an aside' --config-dir b roam push
see 0 'aside' --config-dir b roam asides
see 1 'tickRestoreDay' roam diff 3 4

tell 'Li wants that of B. It becomes the newest revision, and A takes it.'
see 0 'chosen: revision 4' --config-dir b roam resolve 4 --take mine
see 0 'sent' --config-dir b roam status
see 0 'took revision 5' --config-dir a roam pull
holds a/indexUserConfig.xml 'tickRestoreDay="7"'
see 0 'would bring back' --config-dir a undo --dry-run

tell 'The revision before is there as well, and comes back as a new one.'
see 0 'resolve 4' --config-dir a roam history
see 0 'revision 6 holds what revision 3 does' --config-dir a roam restore 3
holds a/indexUserConfig.xml 'showGradient="0"'
see 0 'took revision 6' --config-dir b roam pull

tell 'Wang sees nothing of it, and may not ask for it. Zhao, who supports Li, may.'
as wang see 0 'Revisions' roam history
as wang see 3 'the server refuses' roam history --user li
as zhao see 0 'reportRefreshTime' roam show 6 options --user li

tell "Li's password for the office has never left its desk."
holds a/indexUserConfig.xml 'oaPassword="sample-only"'
pg_dump -U postgres --schema roaming >dump
if grep -aqF sample-only dump; then fail 'the password is on the server'; fi

tell 'Whoever administrates lets old contents go; here all are young.'
as postgres see 0 '0' roam thin --dry-run

stop_server
tell 'The demonstration is over: what was acknowledged is there, once, and nobody lost anything.'
