#!/usr/bin/env bash
# The footprint of Quillon under Xvfb, as medians of several runs:
#   - process start to the tray item registered on the bus (ms)
#   - resident memory after start, panel never opened (MB)
#   - resident memory after opening and closing the panel (MB)
#   - CPU time over an idle period (s)
#   - resident memory growth over the refresh cycles against the local sample service (MB), and
#     its slope from cycle 1,000 to the last (KB a cycle), the steady state of a long session
# Each run gets a fresh home, a private session bus and its own virtual display. The sample
# service runs in a process of its own, so that only Quillon's own memory is measured.
#
#   bench/footprint.sh [BUILD_DIR] [RUNS] [IDLE_SECONDS] [CYCLES]
set -euo pipefail
build_dir=${1:-build/default}
runs=${2:-5}
idle_seconds=${3:-600}
cycles=${4:-3000}
root=$(cd "$(dirname "$0")/.." && pwd)
probe="$build_dir/bench/footprint_probe"
quillon="$build_dir/src/app/quillon"
demo="$build_dir/demo/quillon_demo"
for binary in "$probe" "$quillon" "$demo"; do
    [ -x "$binary" ] || { echo "missing $binary: build the $(basename "$build_dir") preset first" >&2; exit 1; }
done

results=$(mktemp -d)
trap 'rm -rf "$results"' EXIT

one_run() { # $1 = run number
    local home
    home=$(mktemp -d)
    mkdir -p "$home/config" "$home/runtime"
    chmod 700 "$home/runtime"
    env -i PATH="$PATH" HOME="$home" XDG_CONFIG_HOME="$home/config" XDG_RUNTIME_DIR="$home/runtime" \
        "$root/scripts/with-display.sh" \
        dbus-run-session --config-file="$root/tests/support/session-bus.conf" -- \
        "$probe" --idle-seconds "$idle_seconds" "$quillon" > "$results/probe-$1.json" 2>/dev/null
    local service url=""
    mkfifo "$home/service-url"
    "$demo" --serve > "$home/service-url" 2>/dev/null &
    service=$!
    read -r url < "$home/service-url" || true
    if [ -n "$url" ]; then
        env -i PATH="$PATH" HOME="$home" XDG_RUNTIME_DIR="$home/runtime" \
            "$root/scripts/with-display.sh" \
            dbus-run-session --config-file="$root/tests/support/session-bus.conf" -- \
            "$demo" --cycles "$cycles" --service "$url" 2>/dev/null |
            tail -n 1 > "$results/cycles-$1.json"
    fi
    kill "$service" 2>/dev/null || true
    wait "$service" 2>/dev/null || true
    rm -rf "$home"
}

# The runs go two at a time: the idle period dominates and needs no CPU.
for ((run = 1; run <= runs; run++)); do
    one_run "$run" &
    if ((run % 2 == 0)); then wait; fi
done
wait

python3 - "$results" "$runs" "$idle_seconds" "$cycles" <<'PY'
import json, pathlib, statistics, sys
folder, runs, idle, cycles = pathlib.Path(sys.argv[1]), int(sys.argv[2]), sys.argv[3], sys.argv[4]
probes = [json.loads(p.read_text()) for p in sorted(folder.glob("probe-*.json")) if p.read_text().strip()]
loops = [json.loads(p.read_text()) for p in sorted(folder.glob("cycles-*.json")) if p.read_text().strip()]
def show(label, values, unit, target):
    values = [v for v in values if v is not None]
    if not values:
        print(f"{label:<52} no data"); return
    med = statistics.median(values)
    runs_text = ", ".join(f"{v:.2f}" if isinstance(v, float) else str(v) for v in values)
    print(f"{label:<52} median {med:8.2f} {unit:<3} ({f'target {target}; ' if target else ''}runs: {runs_text})")
print(f"Quillon footprint, {len(probes)} runs, idle period {idle} s, {cycles} refresh cycles")
show("start to tray item registered", [p["startup_ms"] for p in probes], "ms", "<= 300 ms")
show("resident memory, panel never opened", [p["rss_idle_kb"] / 1024 for p in probes], "MB", "<= 45 MB")
show("resident memory, panel opened and closed", [p["rss_panel_kb"] / 1024 for p in probes], "MB", "<= 60 MB")
show(f"CPU time over {idle} idle s", [p["idle_cpu_s"] for p in probes], "s", "<= 0.2 s")
show(f"memory growth over {cycles} refresh cycles (after 10)",
     [(l["rss_after_all_kb"] - l["rss_after_10_kb"]) / 1024 for l in loops], "MB", "")
show(f"memory slope, cycle 1,000 to {cycles}",
     [(l["rss_after_all_kb"] - l["rss_after_1000_kb"]) / (l["cycles"] - 1000)
      if l.get("rss_after_1000_kb", -1) >= 0 else None for l in loops], "KB", "<= 0.1 KB a cycle")
PY
