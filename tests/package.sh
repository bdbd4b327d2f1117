#!/usr/bin/env bash
# Installs a build, builds the example host against it from outside the tree, runs it, and looks at
# what the library exports. Usage: package.sh ROOT BUILD
set -euo pipefail
root=$1 build=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/usr

cmake --install "$build" --prefix "$prefix" >"$scratch/install.log"
cp -r "$root/examples/host" "$scratch/host"
cmake -S "$scratch/host" -B "$scratch/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
    >"$scratch/cmake.log"
ninja -C "$scratch/build" >"$scratch/ninja.log" || { cat "$scratch/ninja.log"; exit 1; }

cp -r "$root/examples/user" "$scratch/user"
[ "$("$scratch/build/host" "$scratch/user" | tail -n 1)" = saved ]
"$prefix/bin/indexuserctl" --config-dir "$scratch/user" option get reportRefreshTime | grep -qx 750
# A damaged file comes back from the dated copy of that save.
echo '<damaged' >"$scratch/user/indexUserConfig.xml"
"$scratch/build/host" "$scratch/user" | grep -q '^recovered from '

# pkg-config serves those who do not use CMake.
flags=$(PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name indexuser.pc)") \
    pkg-config --cflags --libs indexuser)
# shellcheck disable=SC2086
g++ -std=c++17 -fPIC "$root/examples/minimal/main.cpp" -o "$scratch/minimal" $flags
LD_LIBRARY_PATH=$(dirname "$(find "$prefix" -name 'libindexuser.so')") \
    "$scratch/minimal" "$scratch/user" >"$scratch/names"
grep -q 早盘 "$scratch/names"

# Strong symbols are the interface: classes and functions that headers mark, and their tables.
library=$(find "$prefix" -name 'libindexuser.so')
leaked=$(nm -DC --defined-only "$library" | grep -E '^[0-9a-f]+ [TBDR] ' | cut -d' ' -f3- |
    grep -vE '^((non-virtual thunk to|vtable for|typeinfo for|typeinfo name for) )?KW::(UserConfigInterface|CUserConfigManager|UserConfigFactory|CPanelGroupLayoutConfig|CPanelGroupLayoutSetting|CLayoutTemplate|CLayoutWindow)(::|$)' |
    grep -vE '^KW::(parseUserDocument|userDocumentText|optionTable)\(' |
    grep -vE 'utils::CSingletonT<KW::CUserConfigManager>' || true)
[ -z "$leaked" ] || { echo "exported by mistake:"; echo "$leaked"; exit 1; }
grep -q SONAME <(readelf -d "$library") && readelf -d "$library" | grep -q 'libindexuser.so.0'

[ -s "$(find "$prefix" -name indexuserctl.1)" ]
[ -s "$(find "$prefix" -path '*completions/indexuserctl')" ]
