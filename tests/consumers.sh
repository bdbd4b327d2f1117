#!/usr/bin/env bash
# The library as others take it: by components, without what only the rest needs, and as a part of
# their own project. Usage: consumers.sh ROOT BUILD
set -euo pipefail
root=$1 build=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
reuse=(-G Ninja -DCMAKE_CXX_COMPILER_LAUNCHER="$root/tests/reuse.sh;$build")
bare=(-DCMAKE_DISABLE_FIND_PACKAGE_LibXml2=ON -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON
    -DCMAKE_DISABLE_FIND_PACKAGE_PostgreSQL=ON)
roams=$([ ! -e "$build/bin/indexuserctl-roam" ] || echo yes)

quietly() { "$@" >"$scratch/log" 2>&1 || { cat "$scratch/log"; exit 1; }; }

# answers PREFIX COMPONENTS PATTERN [flags...]: what find_package() says to such a consumer.
answers() {
    local prefix=$1 components=$2 pattern=$3
    shift 3
    rm -rf "$scratch/consumer"
    cmake -S "$root/tests/consumers/components" -B "$scratch/consumer" -G Ninja "$@" \
        -DCMAKE_PREFIX_PATH="$prefix" -DCOMPONENTS="$components" \
        -DPROGRAM="$root/examples/minimal/main.cpp" >"$scratch/log" 2>&1 || true
    # An error is folded to the width of a page.
    tr -s ' \n' ' ' <"$scratch/log" | grep >/dev/null -- "$pattern" ||
        { echo "COMPONENTS '$components' of $prefix: not \"$pattern\""; cat "$scratch/log"; exit 1; }
}

# runs PROGRAM: it prints the templates of the sample user.
runs() { "$1" "$root/examples/user" | grep >/dev/null 早盘; }

echo "the whole package, component by component"
whole=$scratch/whole
quietly cmake --install "$build" --prefix "$whole"
answers "$whole" '' "found: indexuser;platform;standalone;inspect;mend${roams:+;roaming};indexuserctl "
answers "$whole" indexuser 'found: indexuser;platform ' "${bare[@]}"
answers "$whole" tools 'found: indexuser;platform;indexuserctl ' "${bare[@]}"
answers "$whole" inspect 'found: indexuser;platform;inspect '
answers "$whole" mend 'found: indexuser;platform;inspect;mend '
answers "$whole" inspect 'indexuser: its component inspect needs LibXml2, which was not found' \
    "${bare[@]}"
if [ "$roams" ]; then
    answers "$whole" 'roaming;standalone' 'found: indexuser;platform;standalone;inspect;mend;roaming '
    quietly ninja -C "$scratch/consumer"
    PGHOST=/no/server "$scratch/consumer/follower" | grep >/dev/null '^away: '
    answers "$whole" roaming 'indexuser: its component roaming needs PostgreSQL and OpenSSL, which were not found' \
        -DCMAKE_DISABLE_FIND_PACKAGE_PostgreSQL=ON
    answers "$whole" roaming 'indexuser: its component roaming needs mend, which was not found' \
        -DCMAKE_DISABLE_FIND_PACKAGE_LibXml2=ON
fi
answers "$whole" pictures 'indexuser: its component pictures is not installed'
answers "$whole" 'indexuser;OPTIONAL_COMPONENTS;mend;inspect;pictures' 'found: indexuser;platform ' \
    "${bare[@]}"

echo "the library alone, where CLI11 and libxml2 are not"
alone=$scratch/alone
quietly cmake -S "$root" -B "$scratch/build" "${reuse[@]}" "${bare[@]}" -DINDEXUSER_INSPECT=OFF
grep -x >/dev/null CMAKE_BUILD_TYPE:STRING=RelWithDebInfo "$scratch/build/CMakeCache.txt"
quietly ninja -C "$scratch/build"
quietly cmake --install "$scratch/build" --prefix "$alone"
answers "$alone" inspect 'indexuser: its component inspect is not installed'
answers "$alone" '' 'found: indexuser;platform;standalone ' "${bare[@]}"
quietly ninja -C "$scratch/consumer"
runs "$scratch/consumer/program"
quietly cpack -G DEB --config "$scratch/build/CPackConfig.cmake" -B "$scratch/packages"

echo "as a part of a project with names of its own"
quietly cmake -S "$root/tests/consumers/around" -B "$scratch/around" "${reuse[@]}" "${bare[@]}" \
    -DINDEXUSER="$root"
quietly ninja -C "$scratch/around"
runs "$scratch/around/program"
DESTDIR=$scratch/nothing quietly cmake --install "$scratch/around"
[ ! -e "$scratch/nothing" ]
for ours in bin lib .clang-tidy CPackConfig.cmake indexuserctl.1; do
    [ ! -e "$scratch/around/$ours" ] || { echo "left in the project around: $ours"; exit 1; }
done
