#!/usr/bin/env bash
# The public headers as pages, without a warning. Usage: documentation.sh ROOT
set -euo pipefail
cd "$1"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
{ cat docs/Doxyfile; echo "OUTPUT_DIRECTORY = $scratch"; } | doxygen -
[ -s "$scratch/html/classKW_1_1UserConfigInterface.html" ]
