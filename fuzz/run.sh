#!/usr/bin/env bash
# run.sh short HARNESS            the seeds and a few thousand changes of them, always the same
# run.sh long HARNESS INPUTS      goes on where the last long run ended
# run.sh replay HARNESS CORPUS    the seeds and what another build of the harness has kept
# Crashers are left beside the harness; each that was mended is a seed: tests/data/fuzz/NAME/.
set -euo pipefail
mode=$1 harness=$2
here=$(cd "$(dirname "$0")" && pwd)
name=$(basename "$harness")
work=$(dirname "$harness")/$name.corpus
seeds=()
for each in "$here/../tests/data/fuzz/$name" "$here/../tests/data/load" "$here/../examples/user"; do
    case $name:$each in
        fuzz_filterline:*/load | fuzz_filterline:*/user | fuzz_stockcsv:*/load | fuzz_stockcsv:*/user) ;;
        *) [ ! -d "$each" ] || seeds+=("$each") ;;
    esac
done
# The layout store outlives its manager by design: looking for leaks after every input takes most of
# the time and finds only it.
options=(-detect_leaks=0 -dict="$here/indexuser.dict" -artifact_prefix="$work-" -max_len=20000 -timeout=60
    -rss_limit_mb=4096)
# The service and the harness both hold the units of format, and the same ones.
export ASAN_OPTIONS=detect_odr_violation=0${ASAN_OPTIONS:+:$ASAN_OPTIONS}
case $mode in
    short)
        scratch=$(mktemp -d)
        trap 'rm -rf "$scratch"' EXIT
        "$harness" "${options[@]}" -runs=2000 -seed=20240131 "$scratch" "${seeds[@]}"
        ;;
    long)
        mkdir -p "$work"
        # Choices of what to build are a byte each: short inputs make trees that are large enough.
        longest=1024
        [ "$name" != fuzz_documentwriter ] || longest=128
        # A third of the time would go into weighing inputs against each other.
        "$harness" "${options[@]}" -entropic=0 -max_len=$longest -runs="$3" "$work" "${seeds[@]}"
        ;;
    replay)
        "$harness" "${options[@]}" -runs=0 "$3" "${seeds[@]}"
        ;;
esac
