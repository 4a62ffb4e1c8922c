#!/usr/bin/env bash
# The package check's steps inside a fresh bare Debian system, as root there (check-package.sh
# runs it): the install scripts as a user who has no sudo, then the .deb installed with nothing
# else, run by that user, started under a virtual display with a watcher, and removed.
#
#   check-inside.sh DEB
set -euo pipefail
deb=${1:?usage: check-inside.sh DEB}
here=$(cd "$(dirname "$0")" && pwd)
user=quillon-check
failures=0

step() { printf '\n---- %s\n' "$*"; }
fail() { echo "FAILED: $*"; failures=$((failures + 1)); }
apt_install() {
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq -o DPkg::Lock::Timeout=600 \
        --no-install-recommends "$@" >/dev/null
}

useradd --create-home --shell /bin/bash "$user"
uid=$(id -u "$user")
home=$(getent passwd "$user" | cut -d: -f6)
runtime=/run/user/$uid
mkdir -p "$runtime" && chown "$user:" "$runtime" && chmod 700 "$runtime"
as_user() {
    runuser -u "$user" -- env -i HOME="$home" USER="$user" LANG=C.UTF-8 PATH=/usr/bin:/bin \
        XDG_RUNTIME_DIR="$runtime" "$@"
}
(cd "$home" && find . -mindepth 1 | sort) >/tmp/home-before

step "the install scripts as a user without sudo"
status=0
output=$(as_user bash "$here/../install-deps.sh" 2>&1) || status=$?
echo "$output" | sed 's/^/    /'
[ "$status" -ne 0 ] || fail "install-deps.sh as a user without sudo exited 0"
grep -q '^    apt-get install --no-install-recommends .*qt6-base-dev' <<<"$output" ||
    fail "install-deps.sh did not print the command that installs the packages"

step "apt-get install $(basename "$deb")"
DEBIAN_FRONTEND=noninteractive apt-get update -qq -o DPkg::Lock::Timeout=600
apt_install "$deb"
echo "    $(dpkg-query -W -f='${Package} ${Version}; depends: ${Depends}' quillon)"
dpkg -L quillon | sort >/tmp/package-files

step "quillon --version"
output=$(as_user quillon --version 2>&1) || fail "quillon --version exited $?"
echo "    $output"
grep -q '^quillon [0-9]' <<<"$output" || fail "quillon --version printed no version"

step "quillon get-usage"
output=$(as_user quillon get-usage 2>&1) || fail "quillon get-usage exited $?"
echo "    $output"
[ "$output" = "No usage data available. Please open Quillon to sync your data." ] ||
    fail "quillon get-usage did not give the reply for no data"

step "quillon status, nothing running"
status=0
output=$(as_user quillon status 2>&1) || status=$?
echo "    $output (exit $status)"
[ "$status" -eq 3 ] || fail "quillon status exited $status, not 3"

step "quillon under Xvfb registers its item with a StatusNotifierWatcher"
apt_install xvfb xauth dbus python3-gi
as_user bash -c '
    Xvfb :73 -screen 0 1280x800x24 -nolisten tcp >/tmp/xvfb.log 2>&1 &
    xvfb=$!
    for _ in $(seq 100); do [ -S /tmp/.X11-unix/X73 ] && break; sleep 0.1; done
    status=0
    DISPLAY=:73 dbus-run-session -- python3 "$1" 30 quillon || status=$?
    kill "$xvfb"; wait "$xvfb" 2>/dev/null || true
    exit "$status"' bash "$here/watcher.py" 2>&1 | sed 's/^/    /' ||
    fail "quillon did not register its item, or did not end cleanly"

step "apt-get remove quillon"
DEBIAN_FRONTEND=noninteractive apt-get remove -y -qq quillon >/dev/null
while read -r path; do
    [ -d "$path" ] || [ ! -e "$path" ] || fail "$path is still there after apt-get remove"
done </tmp/package-files
(cd "$home" && find . -mindepth 1 | sort) >/tmp/home-after
echo "    new in the home folder:"
comm -13 /tmp/home-before /tmp/home-after | sed 's/^/        /'
# Folders may stay behind empty; of files, only the settings file may.
while read -r path; do
    [ -d "$home/$path" ] || [ "$path" = ./.config/quillon/quillon.conf ] ||
        fail "the home folder holds $path besides the settings file"
done < <(comm -13 /tmp/home-before /tmp/home-after)
others=$(find /tmp /var/tmp -mindepth 1 -user "$user" ! -path '/tmp/.X11-unix*' \
    ! -name 'xvfb.log' ! -path '/tmp/dbus-*' 2>/dev/null || true)
if [ -n "$others" ]; then
    echo "    left outside the home folder:"
    echo "$others" | sed 's/^/        /'
    fail "files of the user's outside the home folder and the runtime folder"
fi
echo "    in \$XDG_RUNTIME_DIR (goes with the session):"
(cd "$runtime" && find . -mindepth 1 | sort | sed 's/^/        /')

echo
if [ "$failures" -gt 0 ]; then
    echo "package check: $failures failure(s)"
    exit 1
fi
echo "package check: all passed"
