#!/usr/bin/env bash
# Runs a command on a virtual display of its own, so that its windows, pointer grabs and
# synthetic clicks never meet those of anything running beside it. Xvfb picks a free display
# number itself (-displayfd), which avoids the races of choosing one beforehand: two runs
# started at the same moment never share a display, and neither loses it when the other ends.
#
# -noreset: by default an X server resets itself whenever its last client disconnects, and a
# client whose connection is still being set up at that moment is dropped ("unable to open
# display"). Test processes come and go on the same display all the time, several at once, so
# without it one of them now and then could not connect, more often the busier the machine.
set -euo pipefail
fifo_dir=$(mktemp -d)
trap 'kill "$xvfb" 2>/dev/null || true; wait "$xvfb" 2>/dev/null || true; rm -rf "$fifo_dir"' EXIT
mkfifo "$fifo_dir/display"
Xvfb -displayfd 3 -screen 0 1920x1080x24 -nolisten tcp -noreset 3>"$fifo_dir/display" 2>/dev/null &
xvfb=$!
if ! read -r display <"$fifo_dir/display"; then
    echo "with-display.sh: the virtual display did not start" >&2
    exit 1
fi
DISPLAY=":$display" "$@"
