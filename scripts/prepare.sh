# Sourced by ./run and ./test: what a bare Debian 12 machine needs, and quiet builds.
# shellcheck shell=bash

packages=(g++ cmake ninja-build qtbase5-dev libboost-thread-dev liblog4cxx-dev libfmt-dev
    libcli11-dev libxml2-dev)
# What the tests need besides: libFuzzer comes with Clang.
test_packages=(librapidcheck-dev clang-14 libclang-rt-14-dev pkg-config dpkg-dev doxygen
    libxml2-utils clang-format g++-mingw-w64-x86-64-posix)

installed() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q ' ok installed$'; }

as_root() { if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi; }

# Installs those of the given packages that are missing.
need() {
    local missing=() package
    for package in "$@"; do
        installed "$package" || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    echo "Installing ${missing[*]}" >&2
    quietly as_root apt-get update -q
    quietly as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -q -y --no-install-recommends "${missing[@]}"
}

# Runs a command and shows what it said only if it failed.
quietly() {
    local log status=0
    log=$(mktemp)
    "$@" >"$log" 2>&1 </dev/null || status=$?
    [ $status -eq 0 ] || { echo "Failed: $*" >&2; tail -n 60 "$log" >&2; }
    rm -f "$log"
    return $status
}

# build PRESET [cmake --build arguments]
build() {
    local preset=$1
    shift
    [ -e "$root/build/$preset/build.ninja" ] || echo "Configuring $preset" >&2
    quietly env -C "$root" cmake --preset "$preset"
    if ! ninja -C "$root/build/$preset" -n "${@:-all}" | grep -q 'no work to do'; then
        echo "Building $preset" >&2
        quietly ninja -C "$root/build/$preset" "${@:-all}"
    fi
}
