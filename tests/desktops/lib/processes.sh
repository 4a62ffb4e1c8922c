# The processes a host script starts in the background, and their end whatever happens. The
# session files source it; their start puts host_cleanup in the EXIT trap.
host_pids=()

# Ends them, the last started first. Bounded: a process that ignores SIGTERM gets SIGKILL after
# two seconds.
host_cleanup() {
    local pid i
    for ((i = ${#host_pids[@]} - 1; i >= 0; i--)); do
        kill "${host_pids[i]}" 2>/dev/null || true
    done
    for pid in "${host_pids[@]}"; do
        for _ in 1 2 3 4 5 6 7 8 9 10; do
            kill -0 "$pid" 2>/dev/null || break
            sleep 0.2
        done
        kill -9 "$pid" 2>/dev/null || true
    done
}

# spawn NAME COMMAND...: starts a process in the background, its output in DESKTOP_OUT/NAME.log.
spawn() {
    local name=$1
    shift
    "$@" >"$DESKTOP_OUT/$name.log" 2>&1 &
    host_pids+=("$!")
    eval "pid_${name//-/_}=$!"
}
