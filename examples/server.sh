# Sourced by scripts that need a PostgreSQL server of their own, from Debian's packages: start_server
# [SETTING...], stop_server [MODE]. It lives in $scratch, listens on 127.0.0.1 and on a socket in there,
# and trusts whoever comes. As root it is the account postgres, since the server refuses root.
# shellcheck shell=bash

server_bin=$(find /usr/lib/postgresql/*/bin -maxdepth 0 2>/dev/null | sort -V | tail -n 1)

as_server() {
    if [ "$(id -u)" -ne 0 ]; then
        "$@"
    else
        setpriv --reuid=postgres --regid=postgres --init-groups env -C / "$@"
    fi
}

# A port that nobody listens on now.
free_port() {
    local port
    while port=$((RANDOM % 20000 + 40000)); (: <>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; do :; done
    echo "$port"
}

make_server() {
    local owner
    owner=$(as_server id -un)
    export PGPORT
    PGPORT=$(free_port)
    # Only its owner may look into it.
    install -d -m 711 -o "$owner" "$scratch/server"
    export PGHOST=$scratch/server PGDATABASE=postgres
    as_server "$server_bin/initdb" -D "$scratch/server/data" -U postgres -A trust -E UTF8 \
        --locale=C.UTF-8 -N >"$scratch/server.log"
    printf "%s\n" "listen_addresses='127.0.0.1'" "port=$PGPORT" \
        "unix_socket_directories='$scratch/server'" "$@" |
        as_server tee -a "$scratch/server/data/postgresql.conf" >/dev/null
}

start_server() {
    [ -d "$scratch/server/data" ] || make_server "$@"
    as_server "$server_bin/pg_ctl" -D "$scratch/server/data" -l "$scratch/server/log" -w start \
        >"$scratch/server.log"
}

# Without a server there is nothing to stop.
stop_server() {
    [ ! -e "$scratch/server/data/postmaster.pid" ] ||
        as_server "$server_bin/pg_ctl" -D "$scratch/server/data" -m "${1:-fast}" -w stop >/dev/null
}
