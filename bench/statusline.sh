#!/usr/bin/env bash
# How long `quillon statusline` takes per call, as a terminal's status line runs it: the median
# wall time of RUNS calls, each fed Claude Code's sample JSON, with Quillon on the bus (a
# stand-in with fixed figures) and without it (the saved snapshot). Runs on a private session
# bus with a fresh home, so it never touches the user's own Quillon.
#
#   bench/statusline.sh [BUILD_DIR] [RUNS]
set -euo pipefail
build_dir=$(cd "${1:-build/default}" && pwd)
runs=${2:-200}
root=$(cd "$(dirname "$0")/.." && pwd)
quillon="$build_dir/src/app/quillon"
stand_in="$build_dir/bench/statusline_stand_in"
for binary in "$quillon" "$stand_in"; do
    [ -x "$binary" ] || { echo "missing $binary: cmake --build $build_dir --target quillon statusline_stand_in" >&2; exit 1; }
done

if [ "${QUILLON_BENCH_INSIDE:-}" != 1 ]; then
    home=$(mktemp -d)
    trap 'rm -rf "$home"' EXIT
    exec env -i PATH="$PATH" HOME="$home" XDG_CONFIG_HOME="$home/config" QUILLON_BENCH_INSIDE=1 \
        dbus-run-session --config-file="$root/tests/support/session-bus.conf" -- \
        "$0" "$build_dir" "$runs"
fi

input="$root/tests/cli/claude_status_input.json"

# The median of RUNS calls, in milliseconds.
median_ms() {
    local times=() start end
    for ((i = 0; i < runs; i++)); do
        start=$(date +%s%N)
        "$quillon" statusline < "$input" > /dev/null
        end=$(date +%s%N)
        times+=($(( (end - start) / 1000 )))
    done
    printf '%s\n' "${times[@]}" | sort -n | awk '{ v[NR] = $1 } END { printf "%.2f", v[int((NR + 1) / 2)] / 1000 }'
}

echo "without Quillon: $(median_ms) ms median of $runs calls ($("$quillon" statusline < "$input" | sed 's/\x1b\[[0-9;]*m//g'))"
coproc STAND_IN { "$stand_in"; }
stand_in_pid=$STAND_IN_PID
read -r ready <&"${STAND_IN[0]}"
[ "$ready" = ready ] || { echo "the stand-in did not start" >&2; exit 1; }
echo "with Quillon:    $(median_ms) ms median of $runs calls ($("$quillon" statusline < "$input" | sed 's/\x1b\[[0-9;]*m//g'))"
kill "$stand_in_pid"
wait "$stand_in_pid" 2>/dev/null || true
