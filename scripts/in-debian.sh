#!/usr/bin/env bash
# Runs make goals on a copy of this working tree inside a Debian system of another release (made
# and kept by debian-system.sh), as a user of that release would run them: `make test` on
# Debian 13, say. The copy lives in the system at /srv/<this folder's name> (one copy per working
# tree, so trees side by side never overwrite each other) and keeps its build folders between
# runs; what the goals leave in its build/desktops and build/package comes back to
# build/<release>/ here.
# With CMAKE_CXX_COMPILER_LAUNCHER=ccache set, the system's builds share a compiler cache of their
# own, kept beside the system.
#
#   in-debian.sh RELEASE GOAL... [VAR=value...]
set -euo pipefail
release=${1:?usage: in-debian.sh RELEASE GOAL... [VAR=value...]}
shift
repo=$(cd "$(dirname "$0")/.." && pwd)
system="$repo/scripts/debian-system.sh"
root=$("$system" ensure "$release" build)

# The tree as git sees it (tracked and new files, never what .gitignore leaves out), copied over
# the previous copy; the copy's build folders stay.
name=$(basename "$repo")
copy="$root/srv/$name"
stage="$root/srv/.$name.incoming"
rm -rf "$stage"
mkdir -p "$copy" "$stage"
(cd "$repo" && git ls-files -z --cached --others --exclude-standard |
    xargs -0 -r sh -c 'for f; do [ -e "$f" ] && printf "%s\0" "$f"; done' sh |
    tar --null -T - -cf -) | tar -xf - -C "$stage"
# Only files whose content changed replace their copies, and they take the time of copying: the
# build in the system sees every change, even one made while its previous build was running
# (a restored older time would then look older than the objects built from the old content).
(cd "$stage" && find . ! -type d -print0) | while IFS= read -r -d '' file; do
    cmp -s "$stage/$file" "$copy/$file" ||
        { mkdir -p "$(dirname "$copy/$file")" && rm -f "$copy/$file" &&
            cp -P --preserve=mode "$stage/$file" "$copy/$file"; }
done
(cd "$copy" && find . -path ./build -prune -o ! -type d -print0) | while IFS= read -r -d '' file; do
    [ -e "$stage/$file" ] || [ -L "$stage/$file" ] || rm -f "$copy/$file"
done
rm -rf "$stage"

run=(--env "QUILLON_WERROR=${QUILLON_WERROR:-}")
if [ "${CMAKE_CXX_COMPILER_LAUNCHER:-}" = ccache ]; then
    cache="$(dirname "$root")/$release-ccache"
    mkdir -p "$cache"
    "$system" run "$release" build -- sh -c 'command -v ccache >/dev/null ||
        DEBIAN_FRONTEND=noninteractive apt-get install -y -qq ccache >/dev/null'
    run+=(--bind "$cache" --env CCACHE_DIR="$cache" --env CCACHE_BASEDIR=/srv
        --env CCACHE_NOHASHDIR=1 --env CMAKE_CXX_COMPILER_LAUNCHER=ccache
        --env CMAKE_C_COMPILER_LAUNCHER=ccache)
fi
# npm inside reaches its registry through this machine's network, which may need this machine's
# certificate authorities (a proxy's, say).
if [ -n "${NODE_EXTRA_CA_CERTS:-}" ] && [ -r "$NODE_EXTRA_CA_CERTS" ]; then
    mkdir -p "$copy/build"
    cp "$NODE_EXTRA_CA_CERTS" "$copy/build/host-ca-certificates.crt"
    run+=(--env NODE_EXTRA_CA_CERTS="/srv/$name/build/host-ca-certificates.crt")
fi

status=0
"$system" run "$release" build "${run[@]}" -- make -C "/srv/$name" "$@" || status=$?
for results in desktops package; do
    if [ -d "$copy/build/$results" ]; then
        mkdir -p "$repo/build/$release"
        rm -rf "${repo:?}/build/$release/$results"
        cp -a "$copy/build/$results" "$repo/build/$release/$results"
    fi
done
exit "$status"
