#!/usr/bin/env bash
# Runs every libFuzzer target of a fuzz build for a fixed time each, keeping a corpus per target
# in the build folder (seeded from fuzz/corpus/<target> when that exists). Fails on any crash.
set -euo pipefail
build_dir=${1:?usage: run-fuzzers.sh BUILD_DIR [SECONDS]}
seconds=${2:-60}
root=$(cd "$(dirname "$0")/.." && pwd)
shopt -s nullglob
targets=("$build_dir"/fuzz/*_fuzz)
[ ${#targets[@]} -gt 0 ] || { echo "no fuzz targets in $build_dir/fuzz" >&2; exit 1; }
for target in "${targets[@]}"; do
    name=$(basename "$target")
    corpus="$build_dir/corpus/$name"
    mkdir -p "$corpus"
    seeds=()
    [ -d "$root/fuzz/corpus/$name" ] && seeds=("$root/fuzz/corpus/$name")
    echo "== $name: ${seconds}s"
    (cd "$build_dir" && "$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
        -print_final_stats=1 "$corpus" "${seeds[@]}" 2>&1 | grep -E '^(stat::number_of_executed_units|==|SUMMARY|INFO: Seed)' || true)
    [ "${PIPESTATUS[0]:-0}" -eq 0 ] || { echo "$name failed" >&2; exit 1; }
done
