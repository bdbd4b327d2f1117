#!/usr/bin/env bash
# Arrows point down only, files and functions stay short and formatted. Usage: house.sh ROOT
set -euo pipefail
cd "$1"
status=0

# forbid FOLDER HEADERS WHY
forbid() {
    if grep -rnE "#include [<\"]($2)/" "$1"; then
        echo "$1: $3"
        status=1
    fi
}
forbid src/indexmodel/platform 'format|indexuser|standalone|inspect' 'declarations know nobody'
forbid src/indexmodel/format 'indexuser|standalone|inspect' 'what a file holds is nobody else'"'"'s'
forbid src/indexmodel/indexuser 'standalone|inspect' 'the library does not know who supplies its siblings'
forbid src/indexmodel/standalone 'format|indexuser|inspect' 'siblings do not know the library'
forbid src/indexmodel/inspect 'indexuser|standalone' 'files are read without the service; whoever links supplies the siblings'

long=$(find src tests examples bench fuzz -name '*.cpp' -o -name '*.h' | xargs wc -l |
    awk '$2 != "total" && $1 > 500 { print $2 ": " $1 " lines, at most 500" }')
[ -z "$long" ] || { echo "$long"; status=1; }
# From the line of its name to its last; what is all capitals is a macro.
functions=$(ctags -x --languages=C++ --c++-kinds=f --_xformat='%F %n %e %N' \
    -R src tests examples bench fuzz)
[ "$(wc -l <<<"$functions")" -gt 500 ]
long=$(awk '$3 - $2 >= 40 && $4 !~ /^[A-Z_0-9]+$/ {
    print $1 ":" $2 ": " $4 " has " $3 - $2 + 1 " lines, at most 40" }' <<<"$functions")
[ -z "$long" ] || { echo "$long"; status=1; }
find src tests examples bench fuzz -name '*.cpp' -o -name '*.h' |
    xargs clang-format --dry-run -Werror || status=1
exit $status
