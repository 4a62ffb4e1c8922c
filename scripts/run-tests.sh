#!/usr/bin/env bash
# Runs the whole suite of one build folder: on a virtual display, and on a throw-away session bus
# so that no test ever reaches the user's own desktop services. Tests that need a bus of their
# own start a private one per test case.
set -euo pipefail
build_dir=${1:?usage: run-tests.sh BUILD_DIR [ctest arguments...]}
shift
exec "$(dirname "$0")/with-display.sh" \
    dbus-run-session --config-file="$(dirname "$0")/../tests/support/session-bus.conf" -- \
    ctest --test-dir "$build_dir" --output-on-failure --timeout 300 -j "$(nproc)" "$@"
