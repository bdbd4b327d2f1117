#!/usr/bin/env bash
# Sets a server up as docs/roaming.md says, by its own blocks, on loopback: TLS, roles, a desk; and
# looks at who gets in. Usage: roamingdocs.sh ROOT BUILD
set -euo pipefail
root=$1 build=$2
[ -x "$build/bin/indexuserctl-roam" ] || { echo 'Left out: built without PostgreSQL'; exit 77; }
[ -n "$(find /usr/lib/postgresql/*/bin -name initdb 2>/dev/null)" ] ||
    { echo 'Left out: there is no server, which the package postgresql-15 brings'; exit 77; }
. "$root/examples/server.sh"
scratch=$(mktemp -d)
trap 'stop_server immediate; rm -rf "$scratch"' EXIT
chmod 711 "$scratch"
cd "$scratch"
tool=$build/bin/indexuserctl
status=0

# block NAME: what the page has in the block of that name.
block() { sed -n "/^\(#\|--\) $1\$/,/^\`\`\`\$/{/^\`\`\`\$/d;p}" "$root/docs/roaming.md" | grep .; }
# as_server_file NAME: standard input as a file of the cluster's.
as_server_file() { as_server sh -c 'umask 077; cat >"$1"' sh "$scratch/server/data/$1"; }

openssl req -new -x509 -nodes -subj '/CN=the house' -out house.pem -keyout house.key 2>openssl.log
openssl req -new -nodes -subj '/CN=localhost' -out server.csr -keyout server.key 2>>openssl.log
printf 'subjectAltName=DNS:localhost\n' >names
openssl x509 -req -in server.csr -CA house.pem -CAkey house.key -CAcreateserial -extfile names \
    -out server.crt 2>>openssl.log
make_server
as_server_file server.crt <server.crt
as_server_file server.key <server.key
block roaming.conf | sed "s/'\*'/'127.0.0.1'/" | as_server tee -a "$scratch/server/data/postgresql.conf" >/dev/null
block pg_hba.conf | sed 's:10.0.0.0/8:127.0.0.1/32:; s/peer$/trust/' | as_server_file pg_hba.conf
start_server

export PGUSER=postgres
createdb roaming
PGDATABASE=roaming "$tool" roam init >out
block logins.sql | psql -X -q -v ON_ERROR_STOP=1 -d roaming
for login in li zhao keeper; do
    psql -X -q -d roaming -c "alter role $login password '$login-secret'"
    echo "*:*:roaming:$login:$login-secret" >>pgpass
done
chmod 600 pgpass
port=$PGPORT
unset PGHOST PGPORT PGDATABASE PGUSER

# service HOST LOGIN [MODE]: the service file of the page for that desk.
service() {
    block pg_service.conf | sed "s:^host=.*:host=$1\nport=$port:; s:^user=.*:user=$2:
        s:^sslrootcert=.*:sslrootcert=$scratch/house.pem:; s:^sslmode=.*:sslmode=${3:-verify-full}:" >service.conf
}
export PGSERVICEFILE=$scratch/service.conf PGPASSFILE=$scratch/pgpass PGSERVICE=roaming

# expect STATUS TEXT WORDS...
expect() {
    local wanted=$1 text=$2 got=0
    shift 2
    "$tool" --config-dir a roam "$@" >out 2>&1 || got=$?
    if [ $got -ne "$wanted" ] || ! grep -qF -- "$text" out; then
        printf 'roam %s: status %s, wanted %s and "%s":\n' "$*" $got "$wanted" "$text"
        cat out
        status=1
    fi
}
cp -r "$root/examples/user" a
service 'no.example,localhost' li
expect 0 'sent as revision 1' push
expect 0 ' ok' status
expect 3 'the server refuses' thin
service localhost zhao
expect 0 'revision' history --user li
service localhost keeper
expect 0 'persons' thin --dry-run
service 127.0.0.1 li
expect 3 'does not match host name' status
service localhost li disable
expect 3 'no encryption' status
service localhost li
sed -i 's/li-secret/another/' pgpass
expect 3 'password authentication failed' status
# What every save waits for, as the page has it.
unset PGSERVICE
[ "$(psql -XAt -h "$scratch/server" -p "$port" -U postgres -d roaming -c 'show synchronous_commit')" = on ]
exit $status
