#!/usr/bin/env bash
# clang-tidy with the project's .clang-tidy over every source file in src/, using the compile
# commands of a configured build. Any finding fails.
set -euo pipefail
build_dir=${1:?usage: run-clang-tidy.sh BUILD_DIR}
root=$(cd "$(dirname "$0")/.." && pwd)
mapfile -t sources < <(cd "$root" && git ls-files 'src/*.cpp' | sed "s|^|$root/|")
output=$(run-clang-tidy -quiet -p "$build_dir" -j "$(nproc)" "${sources[@]}" 2>&1) || status=$?
findings=$(grep -E '(warning|error):' <<<"$output" | grep -v '^Error while processing' || true)
if [ -n "$findings" ] || [ "${status:-0}" -ne 0 ]; then
    echo "$output" | grep -vE '^(clang-tidy|[0-9]+ warnings? generated|Suppressed|Use -header-filter)' >&2
    exit 1
fi
echo "clang-tidy: no findings in ${#sources[@]} files"
