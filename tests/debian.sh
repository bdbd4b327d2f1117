#!/usr/bin/env bash
# Makes the Debian packages of a build, unpacks them into a root of their own and runs what is in
# them there. Usage: debian.sh ROOT BUILD
set -euo pipefail
root=$1 build=$2
# grep reads to the end here: with -q the program before it could die of a closed pipe.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

(cd "$scratch" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch/packages") \
    >"$scratch/cpack.log" 2>&1 || { cat "$scratch/cpack.log"; exit 1; }
cd "$scratch/packages"
for package in libindexuser0 libindexuser-dev indexuser-tools; do
    dpkg-deb -x "$package"_*.deb "$scratch/root"
done
# What roams is a package of its own, and only it needs PostgreSQL.
roams=$([ ! -e "$build/bin/indexuserctl-roam" ] || echo yes)
if [ "$roams" ]; then
    dpkg-deb -x libindexuser-roaming_*.deb "$scratch/root"
    dpkg-deb -f libindexuser-roaming_*.deb Depends | grep >/dev/null 'libpq5'
    dpkg-deb -f libindexuser-roaming_*.deb Depends | grep >/dev/null 'libindexuser0'
fi
[ -z "$(grep -l libpq5 <(dpkg-deb -f indexuser-tools_*.deb Depends))" ]
dpkg-deb -f indexuser-tools_*.deb Depends | grep >/dev/null 'libindexuser0'
dpkg-deb -f libindexuser0_*.deb Depends | grep >/dev/null 'libqt5core5a'
dpkg-deb -f libindexuser-dev_*.deb Depends | grep >/dev/null 'qtbase5-dev'

tool=$scratch/root/usr/bin/indexuserctl
"$tool" --config-dir "$root/examples/user" tour | tail -n 1 | grep -x >/dev/null 'All came back.'
said=$(PGHOST=/no/server "$tool" roam status 2>&1) && exit 1
if [ "$roams" ]; then
    grep >/dev/null 'the server is away' <<<"$said"
    [ -s "$scratch/root/usr/include/indexuser/roaming/store.h" ]
    [ -s "$(find "$scratch/root" -name libindexuser_roaming.a)" ]
    diff -r "$root/src/indexmodel/roaming/sql" "$scratch/root/usr/share/indexuser/sql"
    rm "$scratch/root/usr/libexec/indexuser/indexuserctl-roam"
    said=$(PGHOST=/no/server "$tool" roam status 2>&1) && exit 1
fi
grep >/dev/null 'libindexuser-roaming' <<<"$said"
"$tool" --version | grep >/dev/null '^indexuserctl [0-9]'
zgrep -q INDEXUSERCTL "$scratch/root/usr/share/man/man1/indexuserctl.1"*
[ -s "$scratch/root/usr/include/indexuser/indexuser/userconfigfactory.h" ]
[ -s "$(find "$scratch/root" -name indexuserConfig.cmake)" ]
