#!/usr/bin/env bash
# Runs every libFuzzer target of a fuzz build for a fixed time each, keeping a corpus per target
# in the build folder (seeded from fuzz/corpus/<target> when that exists). Fails on any crash,
# leak or time-out a target reports, and when a target does not run at all.
set -euo pipefail
build_dir=$(cd "${1:?usage: run-fuzzers.sh BUILD_DIR [SECONDS]}" && pwd)
seconds=${2:-60}
root=$(cd "$(dirname "$0")/.." && pwd)
shopt -s nullglob
targets=("$build_dir"/fuzz/*_fuzz)
[ ${#targets[@]} -gt 0 ] || { echo "no fuzz targets in $build_dir/fuzz" >&2; exit 1; }
for target in "${targets[@]}"; do
    name=$(basename "$target")
    corpus="$build_dir/corpus/$name"
    mkdir -p "$corpus" "$build_dir/artifacts"
    seeds=()
    [ -d "$root/fuzz/corpus/$name" ] && seeds=("$root/fuzz/corpus/$name")
    log="$build_dir/artifacts/$name.log"
    echo "== $name: ${seconds}s"
    status=0
    "$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="$build_dir/artifacts/$name-" "$corpus" "${seeds[@]}" >"$log" 2>&1 ||
        status=$?
    grep -E '^stat::number_of_executed_units|^SUMMARY' "$log" || true
    if [ "$status" -ne 0 ]; then
        tail -n 40 "$log" >&2
        echo "$name failed with status $status" >&2
        exit 1
    fi
done
