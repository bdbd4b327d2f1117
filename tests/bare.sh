#!/usr/bin/env bash
# Runs a command in a clone of HEAD on a bare Debian 12: a new minimal root, made from the package
# sources of this machine, with an empty environment. The untouched root and the packages downloaded
# are kept in build/bare/. Status 77, and one line why, where no such root can be made.
# Usage: bare.sh COMMAND...
set -euo pipefail
umask 022
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

# Sources by https are of no use without them.
certificates() { if sources | grep -q '^https:'; then echo ca-certificates; else echo apt; fi; }

make_root() {
    local bare=$1 uri
    echo "Making a minimal root" >&2
    uri=$(sources | awk '$2 == "bookworm" && $3 == "main" { print $1; exit }')
    [ -n "$uri" ] || leave_out "this machine has no source of bookworm's packages"
    keys >keys.gpg
    debootstrap --variant=minbase --keyring="$PWD/keys.gpg" --include="$(certificates)" \
        bookworm "$PWD/$bare" "$uri" >debootstrap.log 2>&1 </dev/null ||
        { tail -n 20 debootstrap.log >&2; return 1; }
    mv "$bare"/var/cache/apt/archives/*.deb archives
    tar -C "$bare" --one-file-system -cf root.part .
    mv root.part root.tar
}

# The settings that package sources are reached by; not those that delete what was downloaded.
use_sources() {
    keys >"$1/etc/apt/trusted.gpg.d/machine.gpg"
    sources | sed 's/^/deb /' >"$1/etc/apt/sources.list"
    apt-config dump | grep '^Acquire::' >"$1/etc/apt/apt.conf.d/machine"
    cp /etc/resolv.conf /etc/hosts "$1/etc/"
}

# The checkout may be somebody else's.
clone() {
    git -c safe.directory='*' clone -q --no-hardlinks -u "git -c safe.directory='*' upload-pack" \
        "$root" "$1"
}

# Within a mount and process space of its own, which takes its mounts and processes with it however
# it ends.
inside() {
    local bare=$1
    shift
    # debootstrap bears no blank in a path.
    mount --bind "$kept" /mnt
    cd /mnt
    if [ -e root.tar ]; then tar -C "$bare" -xf root.tar; else make_root "$bare"; fi
    use_sources "$bare"
    clone "$bare/indexuser"
    mount -t proc proc "$bare/proc"
    mount --rbind /dev "$bare/dev"
    mount -t devpts -o newinstance,ptmxmode=0666,mode=0620 devpts "$bare/dev/pts"
    mount --bind archives "$bare/var/cache/apt/archives"
    # shellcheck disable=SC2016
    exec chroot "$bare" /usr/bin/env -i PATH="$path" HOME=/root TERM=dumb \
        sh -c 'cd /indexuser && exec "$@"' sh "$@"
}

if [ "${1:-}" = --inside ]; then
    shift
    inside "$@"
fi
case ${1:--} in
    -*) echo "usage: $0 COMMAND..." >&2; exit 2 ;;
esac
[ "$(id -u)" -eq 0 ] || leave_out "only root can make one"
for each in debootstrap apt-get git; do
    command -v $each >/dev/null || leave_out "there is no $each"
done
unshare --mount --pid --fork true 2>/dev/null || leave_out "this machine gives no mount space of one's own"

mkdir -p "$kept/archives/partial"
# One at a time, so that what lies about is nobody's.
exec 9>"$kept/lock"
flock -n 9 || { echo "Waiting for another bare machine" >&2; flock 9; }
rm -rf --one-file-system "$kept"/run.* || true
bare=run.$$
space=
trap '[ -z "$space" ] || kill -KILL "$space" 2>/dev/null || true
    rm -rf --one-file-system "$kept/$bare"' EXIT
trap 'exit 130' INT TERM HUP
mkdir "$kept/$bare"
setpriv --pdeathsig KILL unshare --mount --propagation private --pid --mount-proc --fork --kill-child \
    "$0" --inside "$bare" "$@" <&0 &
space=$!
wait "$space"
