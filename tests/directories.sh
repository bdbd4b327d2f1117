#!/usr/bin/env bash
# Installs to where distributions and packagers install, by DESTDIR where it is staged, then builds
# the examples against each and runs them and the tool. Usage: directories.sh ROOT BUILD
set -euo pipefail
root=$1 build=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

quietly() { "$@" >"$scratch/log" 2>&1 || { cat "$scratch/log"; exit 1; }; }

# installed STAGE FLAGS...: the build with these directories, and its objects those that are there.
installed() {
    local stage=$1
    shift
    quietly cmake -S "$root" -B "$scratch/build" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
        -DCMAKE_CXX_COMPILER_LAUNCHER="$root/tests/reuse.sh;$build" -U 'CMAKE_INSTALL_*' "$@"
    quietly ninja -C "$scratch/build"
    DESTDIR=$stage quietly cmake --install "$scratch/build"
}

# works PREFIX LIB INCLUDE BIN: everything is there and finds what it needs.
works() {
    local prefix=$1 lib=$2 include=$3 bin=$4 user=$scratch/me flags
    "$bin/indexuserctl" --config-dir "$root/examples/user" tour | grep -x >/dev/null 'All came back.'

    rm -rf "$user" "$scratch/host"
    cp -r "$root/examples/user" "$user"
    quietly cmake -S "$root/examples/host" -B "$scratch/host" -G Ninja \
        -Dindexuser_DIR="$lib/cmake/indexuser"
    quietly ninja -C "$scratch/host"
    "$scratch/host/host" "$user" | grep -x >/dev/null saved

    export PKG_CONFIG_PATH=$lib/pkgconfig
    [ "$(realpath "$(pkg-config --variable=prefix indexuser)")" = "$prefix" ]
    [ "$(realpath "$(pkg-config --variable=libdir indexuser)")" = "$lib" ]
    [ "$(realpath "$(pkg-config --variable=includedir indexuser)")" = "$include" ]
    flags=$(pkg-config --cflags --libs indexuser)
    # shellcheck disable=SC2086
    g++ -std=c++17 -fPIC "$root/examples/minimal/main.cpp" -o "$scratch/minimal" $flags
    LD_LIBRARY_PATH=$lib "$scratch/minimal" "$user" | grep >/dev/null 早盘
}

echo "a distribution's own: /usr, libraries by architecture"
stage=$scratch/usr
installed "$stage" -DCMAKE_INSTALL_PREFIX=/usr
lib=$(dirname "$(find "$stage" -name libindexuser.so)")
[ ! -e /etc/debian_version ] || [ "$(dirname "$lib")" = "$stage/usr/lib" ]
works "$stage/usr" "$lib" "$stage/usr/include" "$stage/usr/bin"

echo "other names and depths"
stage=$scratch/odd
installed "$stage" -DCMAKE_INSTALL_PREFIX=/opt/indexuser -DCMAKE_INSTALL_LIBDIR=lib64 \
    -DCMAKE_INSTALL_INCLUDEDIR=inc/x -DCMAKE_INSTALL_BINDIR=tools
prefix=$stage/opt/indexuser
works "$prefix" "$prefix/lib64" "$prefix/inc/x" "$prefix/tools"

echo "absolute ones, outside the prefix"
mkdir "$scratch/absolute"
cd "$scratch/absolute"
installed '' -DCMAKE_INSTALL_PREFIX="$PWD/prefix" -DCMAKE_INSTALL_LIBDIR="$PWD/libraries/64" \
    -DCMAKE_INSTALL_INCLUDEDIR="$PWD/headers" -DCMAKE_INSTALL_BINDIR="$PWD/programs"
works "$PWD/prefix" "$PWD/libraries/64" "$PWD/headers" "$PWD/programs"
