#!/usr/bin/env bash
# Runs a command on a virtual display of its own, so that its windows, pointer grabs and
# synthetic clicks never meet those of anything running beside it. Xvfb picks a free display
# number itself (-displayfd), which avoids the races of choosing one beforehand: two runs
# started at the same moment never share a display, and neither loses it when the other ends.
set -euo pipefail
fifo_dir=$(mktemp -d)
trap 'kill "$xvfb" 2>/dev/null || true; wait "$xvfb" 2>/dev/null || true; rm -rf "$fifo_dir"' EXIT
mkfifo "$fifo_dir/display"
Xvfb -displayfd 3 -screen 0 1920x1080x24 -nolisten tcp 3>"$fifo_dir/display" 2>/dev/null &
xvfb=$!
read -r display <"$fifo_dir/display"
DISPLAY=":$display" "$@"
