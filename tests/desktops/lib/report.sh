# Reporting for the host scripts: one line per check, "PASS <host>: <check>" or
# "FAIL <host>: <check>: <detail>", or, for a check of what the host gives no means to do,
# "LIMIT <host>: <check>: <detail> (<why>)", and the script's exit status from them.
# Source it after setting HOST.

: "${HOST:?HOST must name the host before report.sh is sourced}"
# The checks every host makes, in order.
CHECK_NAMES=("item visible" "figures visible" "panel opens" "panel placement"
    "outside click closes" "escape closes" "item click closes" "menu works")
checks_failed=0
checks_passed=0

pass() {
    checks_passed=$((checks_passed + 1))
    printf 'PASS %s: %s\n' "$HOST" "$1"
}

# fail CHECK DETAIL...
fail() {
    local check=$1
    shift
    checks_failed=$((checks_failed + 1))
    printf 'FAIL %s: %s: %s\n' "$HOST" "$check" "$*"
}

# check CHECK COMMAND...: passes when the command succeeds; its output (last line) is the
# detail of a failure.
check() {
    local check=$1 out
    shift
    if out=$("$@" 2>&1); then
        pass "$check"
    else
        fail "$check" "$(printf '%s' "${out:-exit status $?}" | tail -n 1)"
    fi
}

# known_limit CHECK WHY COMMAND...: a check of what the host itself gives Quillon no means to do
# (WHY says what is missing, as the README's table does). It runs like any other and passes when
# the command succeeds; when it does not, the line says LIMIT instead of FAIL, with WHY, and the
# host's status does not count it.
known_limit() {
    local check=$1 why=$2 out
    shift 2
    if out=$("$@" 2>&1); then
        pass "$check"
    else
        printf 'LIMIT %s: %s: %s (%s)\n' "$HOST" "$check" \
            "$(printf '%s' "${out:-exit status $?}" | tail -n 1)" "$why"
    fi
}

# The exit status of a host script: 0 only when no check failed and at least one ran.
report_status() {
    [ "$checks_failed" -eq 0 ] && [ "$checks_passed" -gt 0 ]
}

# wait_until SECONDS COMMAND...: polls the command every 0.2 s until it succeeds or the time
# is up.
wait_until() {
    local limit=$1 deadline
    shift
    deadline=$(($(date +%s%N) + limit * 1000000000))
    until "$@" >/dev/null 2>&1; do
        [ "$(date +%s%N)" -lt "$deadline" ] || return 1
        sleep 0.2
    done
}
