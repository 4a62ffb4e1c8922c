# Installs, through apt-get, the Debian packages named that are not installed yet; quiet and
# quick when all of them are. Sourced by the install scripts. A user who is neither root nor
# able to use sudo gets the missing packages and the command that installs them, and the
# calling script ends with a non-zero status.
install_missing() {
    local package status missing=() sudo=()
    for package in $(printf '%s\n' "$@" | sort -u); do
        status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
        [ "$status" = installed ] || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            {
                echo "These Debian packages are missing: ${missing[*]}"
                echo "There is no sudo here; as root, install them with:"
                echo "    apt-get install --no-install-recommends ${missing[*]}"
            } >&2
            exit 1
        fi
        sudo=(sudo)
    fi
    echo "Installing ${missing[*]}" >&2
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq -o DPkg::Lock::Timeout=600
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq -o DPkg::Lock::Timeout=600 --no-install-recommends \
        "${missing[@]}" >/dev/null
}
