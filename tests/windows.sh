#!/usr/bin/env bash
# Compiles every source of the library for 64-bit Windows, against the installed headers. Nothing is
# linked: there are no libraries for that target here. Usage: windows.sh ROOT
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
failed=0
/usr/lib/qt5/bin/moc -I"$root/src/indexmodel" "$root/src/indexmodel/indexuser/cuserconfigmanager.h" \
    -p indexuser -o "$scratch/moc.cpp"
for source in "$root"/src/indexmodel/indexuser/*.cpp "$scratch/moc.cpp"; do
    x86_64-w64-mingw32-g++-posix -std=c++17 -O1 -c "$source" -o /dev/null \
        -DQT_NO_KEYWORDS -DINDEXUSER_LIBRARY -DBOOST_ALL_NO_LIB -DLOG4CXX_STATIC '-D__pragma(x)=' \
        -Wall -Wextra -Werror=return-type \
        -I"$root/src/indexmodel" -isystem "$scratch" -isystem "$scratch/qt5" \
        -isystem "$scratch/qt5/QtCore" -isystem "$scratch/qt5/QtXml" ||
        { echo "does not compile for Windows: $source"; failed=1; }
done
exit $failed
