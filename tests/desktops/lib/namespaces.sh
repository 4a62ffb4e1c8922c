# Mount and network namespaces of a host's own, for the Wayland hosts: the X displays of their
# XWayland and its abstract sockets never meet another host's.

# enter_namespaces "$@": the first time, runs the script again (with its arguments) in the
# namespaces; there, gives it a /tmp of its own for the X sockets and lock files of its displays,
# and the loopback. Does nothing in the script's later runs, on the session bus.
enter_namespaces() {
    [ -z "${DESKTOP_BUS:-}" ] || return 0
    if [ -z "${DESKTOP_NAMESPACES:-}" ]; then
        local userns=()
        # Without root, a user namespace of our own uid grants the mounts below.
        [ "$(id -u)" -eq 0 ] || userns=(--user --map-current-user)
        # In a chroot the root is no mount point, so its propagation cannot change; the system
        # it runs in keeps its mounts private already (scripts/debian-system.sh).
        mountpoint -q / || userns+=(--propagation unchanged)
        exec unshare "${userns[@]}" --mount --net -- env DESKTOP_NAMESPACES=1 bash "$0" "$@"
    fi
    # A checkout under /tmp (a CI clone, say) would vanish under the new /tmp: keep it in view at
    # the same path, through a bind of the old /tmp taken before it is covered.
    local old_tmp checkout=
    case "$REPO" in /tmp/?*) checkout=${REPO#/tmp/}; checkout=${checkout%%/*} ;; esac
    if [ -n "$checkout" ]; then
        old_tmp=$(mktemp -d /dev/shm/quillon-host-tmp.XXXXXX)
        mount --bind /tmp "$old_tmp"
    fi
    mount -t tmpfs -o mode=1777 tmpfs /tmp
    mkdir -m 1777 /tmp/.X11-unix
    if [ -n "$checkout" ]; then
        mkdir "/tmp/$checkout"
        mount --bind "$old_tmp/$checkout" "/tmp/$checkout"
        umount -l "$old_tmp"
        rmdir "$old_tmp"
    fi
    ip link set lo up
}
