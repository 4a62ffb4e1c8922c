#!/usr/bin/env bash
# Runs the real application (the demo build) under real panel hosts, each headless and apart
# from the others, and checks what a user sees there: tests/desktops/hosts/<host>.sh for each
# host named (default: all). Prints each check's line, each host's summary, and at the end one
# line "N passed, N failed, N at a known limit of their host" (a LIMIT line is a check of what
# the host gives no means to do, with what is missing; it does not fail the run). Screenshots and
# logs go to build/desktops/<host>/.
set -uo pipefail
build_dir=${1:?usage: run-desktop-tests.sh BUILD_DIR [HOST...]}
shift
repo=$(cd "$(dirname "$0")/.." && pwd)
all_hosts=(gnome gnome-appindicator gnome-appindicator-only plasma xfce mate mate-indicator sway tint2 cinnamon lxqt
    plasma-wayland)
# The variants of a host, after the others.
all_hosts+=(sway-bottom)
hosts=("$@")
if [ ${#hosts[@]} -eq 0 ]; then
    for host in "${all_hosts[@]}"; do
        [ -f "$repo/tests/desktops/hosts/$host.sh" ] && hosts+=("$host")
    done
fi
host_limit=${DESKTOP_HOST_TIMEOUT:-240}

"$repo/scripts/install-desktop-deps.sh" "${hosts[@]}" || exit 1

export QUILLON_DEMO DESKTOP_LIB REPO="$repo"
QUILLON_DEMO=$(cd "$build_dir" && pwd)/demo/quillon_demo
DESKTOP_LIB="$repo/tests/desktops/lib"
[ -x "$QUILLON_DEMO" ] || { echo "no $QUILLON_DEMO: build quillon_demo first" >&2; exit 1; }

passed=0
failed=0
limits=0
for host in "${hosts[@]}"; do
    script="$repo/tests/desktops/hosts/$host.sh"
    export DESKTOP_OUT="$repo/build/desktops/$host"
    rm -rf "$DESKTOP_OUT"
    mkdir -p "$DESKTOP_OUT"
    if [ ! -f "$script" ]; then
        echo "FAIL $host: host script: no $script"
        failed=$((failed + 1))
        continue
    fi
    start=$(date +%s)
    # Its own session: whatever the host leaves behind is ended with its process group.
    setsid timeout --kill-after=10 "$host_limit" bash "$script" >"$DESKTOP_OUT/checks.txt" 2>"$DESKTOP_OUT/host.log" &
    group=$!
    wait "$group"
    status=$?
    kill -- -"$group" 2>/dev/null || true
    cat "$DESKTOP_OUT/checks.txt"
    host_passed=$(grep -c '^PASS ' "$DESKTOP_OUT/checks.txt")
    host_failed=$(grep -c '^FAIL ' "$DESKTOP_OUT/checks.txt")
    host_limits=$(grep -c '^LIMIT ' "$DESKTOP_OUT/checks.txt")
    if [ "$status" -eq 124 ] || [ "$status" -eq 137 ]; then
        echo "FAIL $host: time limit: stopped after ${host_limit} s"
        host_failed=$((host_failed + 1))
    elif [ "$status" -ne 0 ] && [ "$host_failed" -eq 0 ]; then
        echo "FAIL $host: host script: exit status $status (see $DESKTOP_OUT/host.log)"
        host_failed=$((host_failed + 1))
    fi
    passed=$((passed + host_passed))
    failed=$((failed + host_failed))
    limits=$((limits + host_limits))
    echo "== $host: $host_passed passed, $host_failed failed, $host_limits at a known limit" \
        "in $(($(date +%s) - start)) s;" \
        "screenshots in ${DESKTOP_OUT#"$repo"/}/"
done
echo "$passed passed, $failed failed, $limits at a known limit of their host"
[ "$failed" -eq 0 ]
