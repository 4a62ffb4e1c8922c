# Installs, through apt-get, the Debian packages named that are not installed yet; quiet and
# quick when all of them are. Sourced by the install scripts.
install_missing() {
    local package status missing=() sudo=()
    for package in $(printf '%s\n' "$@" | sort -u); do
        status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
        [ "$status" = installed ] || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    [ "$(id -u)" -eq 0 ] || sudo=(sudo)
    echo "Installing ${missing[*]}" >&2
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq -o DPkg::Lock::Timeout=600
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq -o DPkg::Lock::Timeout=600 --no-install-recommends \
        "${missing[@]}" >/dev/null
}
