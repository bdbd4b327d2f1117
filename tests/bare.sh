#!/usr/bin/env bash
# Runs a command in a clone of HEAD on a bare Debian 12: a new minimal root, made from the package
# sources of this machine, with an empty environment. The untouched root and the packages downloaded
# are kept in build/bare/. Status 77 where no such root can be made.
# Usage: bare.sh COMMAND...
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
kept=$root/build/bare
path=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin

leave_out() {
    echo "No bare machine here, left out: $*" >&2
    exit 77
}

# The sources of Debian 12 that this machine is set up with: URI SUITE COMPONENT, a line each.
sources() {
    apt-get indextargets --format '$(REPO_URI) $(RELEASE) $(COMPONENT)' 'Identifier: Packages' |
        awk '$2 ~ /^bookworm/' | sort -u
}

# All keys for package sources on this machine, as one keyring.
keys() {
    find /usr/share/keyrings /etc/apt/keyrings /etc/apt/trusted.gpg.d /etc/apt/trusted.gpg \
        -name '*.gpg' -exec cat {} + 2>/dev/null || true
}

# The settings that package sources are reached by; not those that delete what was downloaded.
use_sources() {
    keys >"$1/etc/apt/trusted.gpg.d/machine.gpg"
    sources | sed 's/^/deb /' >"$1/etc/apt/sources.list"
    apt-config dump | grep '^Acquire::' >"$1/etc/apt/apt.conf.d/machine"
}

make_root() {
    local new uri
    echo "Making a minimal root" >&2
    uri=$(sources | awk '$2 == "bookworm" && $3 == "main" { print $1; exit }')
    [ -n "$uri" ] || leave_out "this machine has no source of bookworm's packages"
    new=$(mktemp -d "$kept/new.XXXXXX")
    keys >"$new.gpg"
    debootstrap --variant=minbase --keyring="$new.gpg" --include="$(certificates)" bookworm "$new" "$uri" \
        >"$kept/debootstrap.log" 2>&1 </dev/null || { tail -n 20 "$kept/debootstrap.log" >&2; return 1; }
    use_sources "$new"
    mv "$new"/var/cache/apt/archives/*.deb "$kept/archives"
    chmod 755 "$new"
    tar -C "$new" --one-file-system -cf "$kept/root.part" .
    mv "$kept/root.part" "$kept/root.tar"
    rm -rf --one-file-system "$new" "$new.gpg"
}

# Sources by https are of no use without them.
certificates() { if sources | grep -q '^https:'; then echo ca-certificates; else echo apt; fi; }

# Runs are named after their process: those of dead ones are leftovers.
remove_leftovers() {
    local each
    for each in "$kept"/run.*; do
        [ ! -d "$each" ] || kill -0 "${each##*.}" 2>/dev/null || rm -rf --one-file-system "$each"
    done
}

# Within a mount and process space of its own, which takes its mounts and processes with it however
# it ends.
enter() {
    local bare=$1
    shift
    mount -t proc proc "$bare/proc"
    mount --rbind /dev "$bare/dev"
    mount -t devpts -o newinstance,ptmxmode=0666,mode=0620 devpts "$bare/dev/pts"
    mount --bind "$kept/archives" "$bare/var/cache/apt/archives"
    # shellcheck disable=SC2016
    exec chroot "$bare" /usr/bin/env -i PATH="$path" HOME=/root TERM=dumb \
        sh -c 'cd /indexuser && exec "$@"' sh "$@"
}

if [ "${1:-}" = --inside ]; then
    shift
    enter "$@"
fi
[ $# -gt 0 ] || { echo "usage: $0 COMMAND..." >&2; exit 2; }
[ "$(id -u)" -eq 0 ] || leave_out "only root can make one"
command -v debootstrap >/dev/null || leave_out "there is no debootstrap"
mkdir -p "$kept/archives/partial"
remove_leftovers
[ -e "$kept/root.tar" ] || make_root
bare=$kept/run.$$
inside=
trap '[ -z "$inside" ] || kill -KILL "$inside" 2>/dev/null || true; rm -rf --one-file-system "$bare"' EXIT
trap 'exit 130' INT TERM HUP
mkdir "$bare"
tar -C "$bare" -xf "$kept/root.tar"
cp /etc/resolv.conf /etc/hosts "$bare/etc/"
git clone -q --no-hardlinks "$root" "$bare/indexuser"
setpriv --pdeathsig KILL unshare --mount --propagation private --pid --fork --kill-child \
    "$0" --inside "$bare" "$@" <&0 &
inside=$!
wait "$inside"
