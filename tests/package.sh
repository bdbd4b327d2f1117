#!/usr/bin/env bash
# Does what the README says of installing, with a build that is there; then looks at what was
# installed. Usage: package.sh ROOT BUILD
set -euo pipefail
root=$1 build=$2
# grep reads to the end here: with -q the program before it could die of a closed pipe.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/indexuser

# The commands of the README in their order, in a copy of what they need; the build itself is done.
cp -r "$root/examples" "$root/docs" "$scratch"
mkdir "$scratch/build"
ln -s "$build" "$scratch/build/release"
sed -n '/^## Installing/,/^## [^I]/s/^    //p' "$root/README.md" | grep -v '^\./run' >"$scratch/commands"
[ "$(wc -l <"$scratch/commands")" -ge 8 ]
(cd "$scratch" && HOME=$scratch bash -euo pipefail commands) >"$scratch/log" 2>&1 ||
    { cat "$scratch/log"; exit 1; }
grep -qx saved "$scratch/log"
for package in libindexuser0 libindexuser-dev indexuser-tools; do
    [ -s "$(find "$scratch/build/packages" -maxdepth 1 -name "${package}_*.deb")" ]
done
grep -qx "1 files: 1 in order, 0 with findings, 0 damaged, 0 unreadable" "$scratch/log"

user=$scratch/build/me
"$prefix/bin/indexuserctl" --config-dir "$user" option get reportRefreshTime | grep -x >/dev/null 750
# A damaged file comes back from the dated copy of that save.
echo '<damaged' >"$user/indexUserConfig.xml"
"$scratch/build/host/host" "$user" | grep >/dev/null '^recovered from '

cmake -S "$root/tests/headers" -B "$scratch/headers" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
    >"$scratch/log"
ninja -C "$scratch/headers" >"$scratch/log" || { cat "$scratch/log"; exit 1; }

# Strong symbols are the interface: the classes and functions that headers mark, and their tables.
library=$(find "$prefix" -name libindexuser.so)
classes='UserConfigInterface|CUserConfigManager|UserConfigFactory|CPanelGroupLayoutConfig'
classes+='|CPanelGroupLayoutSetting|CLayoutTemplate|CLayoutWindow'
leaked=$(nm -DC --defined-only "$library" | grep -E '^[0-9a-f]+ [TBDR] ' | cut -d' ' -f3- |
    grep -vE "^((non-virtual thunk to|vtable for|typeinfo for|typeinfo name for) )?KW::($classes)(::|\$)" |
    grep -vE '^KW::(parseUserDocument|userDocumentText|optionTable)\(' |
    grep -vF 'utils::CSingletonT<KW::CUserConfigManager>' || true)
[ -z "$leaked" ] || { echo "exported by mistake:"; echo "$leaked"; exit 1; }
readelf -d "$library" | grep >/dev/null 'SONAME.*libindexuser.so.0'

# Installed elsewhere, the tool finds what answers for it.
if [ -e "$build/bin/indexuserctl-roam" ]; then
    said=$(PGHOST=/no/server "$prefix/bin/indexuserctl" --config-dir "$user" roam status 2>&1) && exit 1
    grep >/dev/null 'the server is away' <<<"$said"
fi

[ -s "$(find "$prefix" -name indexuserctl.1)" ]
[ -s "$(find "$prefix" -path '*completions/indexuserctl')" ]
