#!/usr/bin/env bash
# Compiles every source of the library for 64-bit Windows, against the installed headers, and looks
# where its objects expect the single instances of the siblings. Nothing is linked: there are no
# libraries for that target here. Usage: windows.sh ROOT
set -euo pipefail
root=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# The headers of this machine's libraries without those of its C library.
for each in qt5:/usr/include/x86_64-linux-gnu/qt5 boost:/usr/include/boost \
    log4cxx:/usr/include/log4cxx fmt:/usr/include/fmt; do
    ln -s "${each#*:}" "$scratch/${each%%:*}"
done
# log4cxx speaks to another compiler of that system here: __pragma().
compile() {
    x86_64-w64-mingw32-g++-posix -std=c++17 -O1 -c "$1" -o "$scratch/$(basename "$1" .cpp).o" \
        -DQT_NO_KEYWORDS -DINDEXUSER_LIBRARY -DBOOST_ALL_NO_LIB -DLOG4CXX_STATIC '-D__pragma(x)=' \
        -Wall -Wextra -Werror=return-type \
        -I"$root/src/indexmodel" -isystem "$scratch" -isystem "$scratch/qt5" \
        -isystem "$scratch/qt5/QtCore" -isystem "$scratch/qt5/QtXml" ||
        { echo "does not compile for Windows: $1"; failed=1; }
}
failed=0
/usr/lib/qt5/bin/moc -I"$root/src/indexmodel" -p indexuser -o "$scratch/moc.cpp" \
    "$root/src/indexmodel/indexuser/cuserconfigmanager.h"
for source in "$root"/src/indexmodel/{format,indexuser}/*.cpp "$scratch/moc.cpp"; do
    compile "$source"
done

# In a process of many modules each single instance is defined by one and imported by the others.
declared=$(sed -nE 's/^extern template class PLATFORM_API utils::(C\w+)<KW::(\w+)>;/\1 \2/p' \
    "$root"/src/indexmodel/platform/*.h)
[ -n "$declared" ] || { echo "no sibling declares its instance"; failed=1; }
# The library reaches the statics by instance() only. This names them.
printf '#include "platform/%s.h"\n' formula orderservice specialstrategy >"$scratch/statics.cpp"
while read -r template type; do
    [ "$template" = CSingletonT ] || continue
    for member in s_mutex s_pInstance; do
        echo "const void* $type$member() { return &utils::$template<KW::$type>::$member; }"
    done
done <<<"$declared" >>"$scratch/statics.cpp"
compile "$scratch/statics.cpp"
x86_64-w64-mingw32-nm "$scratch"/*.o >"$scratch/symbols"

# symbol TEMPLATE TYPE MEMBER: what a member of a single instance is called in an object.
symbol() { echo "_ZN5utils${#1}$1IN2KW${#2}$2EE${#3}$3E"; }
# wanted PATTERN: some object has such a symbol.
wanted() { grep -qE " $1\$" "$scratch/symbols" || { echo "not there: $1"; failed=1; }; }
while read -r template type; do
    # This compiler leaves it to the linker to mark functions as imported.
    wanted "U (__imp_)?$(symbol "$template" "$type" instance)v"
    [ "$template" = CSingletonT ] || continue
    wanted "U __imp_$(symbol "$template" "$type" s_mutex)"
    wanted "U __imp_$(symbol "$template" "$type" s_pInstance)"
done <<<"$declared"
for static in s_mutex s_pInstance; do
    wanted "[DdBb] $(symbol CSingletonT CUserConfigManager $static)"
done
if grep -E ' [^U ] .*C(Manual)?SingletonTI' "$scratch/symbols" | grep -v CUserConfigManager; then
    echo "defined here, but belongs to the sibling"
    failed=1
fi
exit $failed
