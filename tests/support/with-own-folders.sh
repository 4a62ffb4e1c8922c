#!/usr/bin/env bash
# Runs one test in folders of its own: HOME, the XDG folders (config, cache, data, state,
# runtime) and TMPDIR all point into a fresh temporary folder, removed when the test ends. So
# whatever a test or the toolkit under it writes (settings, icons, QML caches, locks) never
# reaches the user's own files, nor another test running beside it.
set -euo pipefail
root=$(mktemp -d "${TMPDIR:-/tmp}/quillon-test.XXXXXX")
# Tests make folders unreadable or unwritable on purpose; they are opened again to be removed.
trap 'chmod -R u+rwx "$root" 2>/dev/null || true; rm -rf "$root"' EXIT
mkdir -p "$root/home/.config" "$root/home/.cache" "$root/home/.local/share" \
    "$root/home/.local/state" "$root/runtime" "$root/tmp"
chmod 0700 "$root/runtime"
export HOME="$root/home" \
    XDG_CONFIG_HOME="$root/home/.config" \
    XDG_CACHE_HOME="$root/home/.cache" \
    XDG_DATA_HOME="$root/home/.local/share" \
    XDG_STATE_HOME="$root/home/.local/state" \
    XDG_RUNTIME_DIR="$root/runtime" \
    TMPDIR="$root/tmp"
"$@"
