#!/usr/bin/env bash
# fuzz.sh [SECONDS [SEED]]: builds the fuzzers and runs each for some seconds (default: 60), with a seed
# (default: another one each time). Where clang's runtime cannot be had, says so and does nothing.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

seconds=${1:-60}
seed=${2:-0}
need "${check_packages[@]}"
if ! compgen -G '/usr/lib/llvm-14/lib/clang/*/lib/linux/libclang_rt.fuzzer-*.a' >/dev/null; then
    echo "clang's fuzzer runtime is not here: the fuzzers are left out"
    exit 0
fi
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# All at once: each has a log of its own.
declare -A running
for seeds in fuzz/seeds/*; do
    fuzzer=$(basename "$seeds")
    mkdir "$work/$fuzzer"
    echo "$fuzzer, $seconds s"
    "build/fuzz/fuzz/$fuzzer" -max_total_time="$seconds" -seed="$seed" -print_final_stats=1 -verbosity=0 \
        -artifact_prefix="$PWD/build/fuzz/" "$work/$fuzzer" "$seeds" >"$work/$fuzzer.log" 2>&1 &
    running[$fuzzer]=$!
done
failed=0
for fuzzer in "${!running[@]}"; do
    if wait "${running[$fuzzer]}"; then
        echo "$fuzzer: $(grep number_of_executed_units "$work/$fuzzer.log")"
    else
        cat "$work/$fuzzer.log" >&2
        failed=1
    fi
done
exit $failed
