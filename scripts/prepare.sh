# Sourced by ./run, ./test and their like: what a bare Debian 12 machine needs, and builds that tell
# how far they are.
# shellcheck shell=bash

# What the program and the libraries need.
packages=(g++ cmake ninja-build qtbase5-dev libboost-thread-dev liblog4cxx-dev libfmt-dev
    libcli11-dev libxml2-dev)
# What the tests need besides: libFuzzer comes with Clang.
test_packages=(librapidcheck-dev clang-14 libclang-rt-14-dev pkg-config dpkg-dev file doxygen
    libxml2-utils clang-format universal-ctags g++-mingw-w64-x86-64-posix python3 python3-jsonschema
    strace man-db)
# What roams needs PostgreSQL, and its tests a server; without them it is left out.
roaming_packages=(libpq-dev postgresql-15)
test_packages+=("${roaming_packages[@]}")
# What shows pages to the tests; they are left out, and say so, where it cannot be installed.
browser_packages=(chromium chromium-driver python3-selenium poppler-utils fonts-wqy-zenhei)

fail() {
    echo "$*" >&2
    exit 1
}

as_root() { if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi; }

# missing PACKAGE...: those that are not installed.
missing() {
    local there
    # It fails when one is unknown, and then still tells of the others.
    there=$(dpkg-query -W -f='${Package} ${db:Status-Status}\n' "$@" 2>/dev/null) || true
    printf '%s installed\n' "$@" | grep -Fvx -e "$there" | cut -d' ' -f1 || true
}

# Servers are started by whoever needs one: its installation is not to begin one for the machine.
no_cluster='conf=/etc/postgresql-common/createcluster.conf
    [ -e "$conf" ] || { mkdir -p "${conf%/*}" && echo "create_main_cluster = false" >"$conf"; }'

# Installs those of the given packages that are missing.
need() {
    local absent by_hand
    mapfile -t absent < <(missing "$@")
    [ ${#absent[@]} -gt 0 ] || return 0
    by_hand="These packages are missing, and root can install them: apt-get install ${absent[*]}"
    [ "$(id -u)" -eq 0 ] || command -v sudo >/dev/null || fail "$by_hand"
    echo "Installing ${absent[*]}" >&2
    [[ " ${absent[*]} " != *' postgresql-15 '* ]] || as_root sh -c "$no_cluster" || fail "$by_hand"
    watched Installing packages as_root apt-get update -q &&
        watched Installing packages as_root env DEBIAN_FRONTEND=noninteractive apt-get install \
            -q -y --no-install-recommends -o APT::Status-Fd=1 "${absent[@]}" || fail "$by_hand"
}

# watched LABEL LOG COMMAND...: tells how far COMMAND is, and shows what it said only if it failed.
watched() {
    local label=$1 log=$root/build/$2.log status=0
    shift 2
    mkdir -p "$root/build" && : 2>/dev/null >"$log" ||
        fail "$root/build cannot be written: remove it, or run this as its owner"
    "$@" 2>&1 </dev/null | tell "$label" "$log" || status=$?
    # From 128 on it was broken off, and who did that knows.
    [ $status -eq 0 ] || [ $status -ge 128 ] || { echo "Failed: $*" >&2; tail -n 60 "$log" >&2; }
    return $status
}

# tell LABEL LOG: keeps what it reads, and says how many steps are done: on a terminal in one line
# that moves, otherwise every 20 s.
tell() {
    local label=$1 began=$SECONDS told=$SECONDS steps='' line='' part status=0 log
    exec {log}>"$2"
    while [ $status -eq 0 ] || [ $status -gt 128 ]; do
        # A second without the end of a line is time to say something.
        status=0
        IFS= read -r -t 1 part || status=$?
        line+=$part
        [ $status -gt 128 ] || { printf '%s' "$line${line:+$'\n'}" >&"$log"; }
        # The steps of ninja, or the share of a download or an installation.
        if [[ $line =~ ^\[([0-9]+)/([0-9]+)\] ]]; then
            steps="${BASH_REMATCH[1]} of ${BASH_REMATCH[2]} steps"
        elif [[ $line =~ ^(dl|pm)status:[^:]*:([0-9]+) ]]; then
            steps="${BASH_REMATCH[2]} %"
        fi
        if [ -n "$steps" ] && { [ -t 2 ] || ((SECONDS - told >= 20)); }; then
            told=$SECONDS
            say "$label: $steps, $(clock $((SECONDS - began)))"
        fi
        [ $status -gt 128 ] || line=''
    done
    [ ! -t 2 ] || [ -z "$steps" ] || echo >&2
}

say() { if [ -t 2 ]; then printf '\r%s\e[K' "$1" >&2; else echo "$1" >&2; fi; }

clock() { printf '%d:%02d' $(($1 / 60)) $(($1 % 60)); }

# Whether PRESET has been configured here, by what the presets and this file say now.
is_configured() {
    local mark=$root/build/$1/.configured
    [ -e "$mark" ] && [ "$(<"$mark")" = "$root" ] && [ ! "$root/CMakePresets.json" -nt "$mark" ] &&
        [ ! "$root/scripts/prepare.sh" -nt "$mark" ]
}

# A build directory of another version, or of another place, is begun anew.
configure() {
    echo "Configuring $1" >&2
    watched "Configuring $1" "$1" env -C "$root" cmake --fresh --preset "$1" &&
        echo "$root" >"$root/build/$1/.configured"
}

# build PRESET [TARGET...]
build() {
    local preset=$1
    shift
    is_configured "$preset" || configure "$preset"
    watched "Building $preset" "$preset" ninja -C "$root/build/$preset" "$@"
}
