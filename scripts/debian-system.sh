#!/usr/bin/env bash
# Bare Debian systems in folders, made with debootstrap from Debian's archive: for building and
# testing on a release other than the machine's own, for checking the package on a system that
# has nothing else, and for the desktops of another release. Each system is a folder under
# $QUILLON_SYSTEMS (default /var/cache/quillon/systems), kept between runs on the same machine;
# the packages debootstrap fetches are kept as a tarball beside them, so a fresh bare system
# costs an unpack, not a download. Needs root (debootstrap, chroot and mounts do).
#
#   debian-system.sh ensure RELEASE NAME      make the system if it is missing; print its folder
#   debian-system.sh fresh RELEASE NAME       make it anew from the bare tarball; print its folder
#   debian-system.sh run RELEASE NAME [--bind DIR]... [--env VAR=VALUE]... -- COMMAND...
#                                              run COMMAND inside, as root, in DIR's folder when
#                                              bound (the first --bind is the working folder),
#                                              with a clean environment plus the VARs given
#   debian-system.sh path RELEASE NAME        print its folder
#
# A bare system holds what a user's fresh install of RELEASE holds at least: the minimal base,
# git, make and ca-certificates. The repository and any other folder go in through --bind, at
# the same path as outside, so paths in build folders stay valid.
set -euo pipefail

systems=${QUILLON_SYSTEMS:-/var/cache/quillon/systems}
mirror=${QUILLON_DEBIAN_MIRROR:-http://deb.debian.org/debian}
bare_packages=git,make,ca-certificates

die() { echo "debian-system.sh: $*" >&2; exit 1; }

[ "$(id -u)" -eq 0 ] || die "needs root (debootstrap, chroot and mounts); run it as root"
command -v debootstrap >/dev/null ||
    { DEBIAN_FRONTEND=noninteractive apt-get install -y -qq debootstrap >/dev/null; } ||
    die "debootstrap is missing and could not be installed"

action=${1:-}
release=${2:-}
name=${3:-}
[ -n "$action" ] && [ -n "$release" ] && [ -n "$name" ] ||
    die "usage: debian-system.sh ensure|fresh|path|run RELEASE NAME [...]"
shift 3
root="$systems/$release-$name"
tarball="$systems/$release-bare.tgz"

# The packages of a bare system, fetched once and kept.
ensure_tarball() {
    [ -s "$tarball" ] && return 0
    mkdir -p "$systems"
    local work
    work=$(mktemp -d "$systems/.tarball.XXXXXX")
    debootstrap --variant=minbase --include="$bare_packages" --make-tarball="$work/bare.tgz" \
        "$release" "$work/root" "$mirror" >"$work/log" 2>&1 ||
        { cat "$work/log" >&2; rm -rf "$work"; die "debootstrap could not fetch $release"; }
    mv "$work/bare.tgz" "$tarball"
    rm -rf "$work"
}

# A new system from the tarball, made in a scratch folder and moved into place only when whole,
# so an interrupted run never leaves a half-made system that a later run would reuse.
make_system() {
    ensure_tarball
    local work
    work=$(mktemp -d "$systems/.system.XXXXXX")
    debootstrap --variant=minbase --include="$bare_packages" --unpack-tarball="$tarball" \
        "$release" "$work" "$mirror" >"$work.log" 2>&1 ||
        { cat "$work.log" >&2; rm -rf "$work" "$work.log"; die "debootstrap could not make $release"; }
    rm -f "$work.log"
    # mktemp made the folder for root alone; as the system's root folder it must let its users in.
    chmod 755 "$work"
    # No service starts inside: the system is a folder, not a booted machine.
    printf '#!/bin/sh\nexit 101\n' >"$work/usr/sbin/policy-rc.d"
    chmod 755 "$work/usr/sbin/policy-rc.d"
    rm -rf "$root"
    mv "$work" "$root"
}

case "$action" in
path) echo "$root" ;;
ensure)
    [ -x "$root/bin/sh" ] || make_system
    # Systems made before their root folder was opened to their users.
    chmod 755 "$root"
    echo "$root"
    ;;
fresh)
    make_system
    echo "$root"
    ;;
run)
    [ -x "$root/bin/sh" ] || die "no system $release-$name: make it with 'ensure' first"
    binds=()
    envs=()
    while [ $# -gt 0 ] && [ "$1" != -- ]; do
        case "$1" in
        --bind) binds+=("$(cd "$2" && pwd)"); shift 2 ;;
        --env) envs+=("$2"); shift 2 ;;
        *) die "unknown option $1" ;;
        esac
    done
    [ "${1:-}" = -- ] && shift
    [ $# -gt 0 ] || die "run: no command"
    workdir=${binds[0]:-/root}
    cp /etc/resolv.conf "$root/etc/resolv.conf" 2>/dev/null || true
    # A mount namespace of its own: the mounts vanish with the command, whatever way it ends.
    exec unshare --mount --propagation private -- /bin/bash -c '
        set -e
        root=$1 workdir=$2; shift 2
        mount --rbind /dev "$root/dev"
        mount -t proc proc "$root/proc"
        mount --rbind /sys "$root/sys"
        mount -t tmpfs tmpfs "$root/tmp"
        mkdir -p "$root/run"; mount -t tmpfs tmpfs "$root/run"
        while [ "$1" != -- ]; do mkdir -p "$root$1"; mount --bind "$1" "$root$1"; shift; done
        shift
        envs=()
        while [ "$1" != -- ]; do envs+=("$1"); shift; done
        shift
        exec chroot "$root" /usr/bin/env -i HOME=/root TERM="${TERM:-dumb}" LANG=C.UTF-8 \
            PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin CI="${CI:-}" \
            "${envs[@]}" /bin/bash -c "cd \"\$0\" && exec \"\$@\"" "$workdir" "$@"
    ' bash "$root" "$workdir" "${binds[@]}" -- "${envs[@]}" -- "$@"
    ;;
*) die "unknown action $action" ;;
esac
