#!/usr/bin/env bash
# Checks a Debian package as a user meets it: in a fresh bare system of its release (made anew
# by debian-system.sh, with nothing but the minimal base, git, make and ca-certificates), the
# install scripts tell a user without sudo what to install, the .deb installs with apt-get alone,
# quillon answers from the command line, starts under a virtual display and registers its item
# with a watcher, and apt-get remove leaves only the user's settings. Needs root.
#
#   check-package.sh RELEASE DEB
set -euo pipefail
release=${1:?usage: check-package.sh RELEASE DEB}
deb=$(realpath "${2:?usage: check-package.sh RELEASE DEB}")
[ -f "$deb" ] || { echo "check-package.sh: no package $deb" >&2; exit 1; }
repo=$(cd "$(dirname "$0")/.." && pwd)
system="$repo/scripts/debian-system.sh"

"$system" fresh "$release" package-check >/dev/null
"$system" run "$release" package-check --bind "$repo/scripts" --bind "$(dirname "$deb")" -- \
    bash "$repo/scripts/package/check-inside.sh" "$deb"
