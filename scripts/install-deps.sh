#!/usr/bin/env bash
# Installs the Debian packages that building, running and testing Quillon need, when any are
# missing. Quiet and quick when everything is already there.
set -euo pipefail

packages=(
    # toolchain
    cmake ninja-build g++ pkg-config clang libclang-rt-14-dev clang-tidy clang-format
    # libraries
    qt6-base-dev qt6-declarative-dev qt6-svg-dev qt6-qpa-plugins libgl-dev
    qml6-module-qtquick qml6-module-qtquick-window qml6-module-qtquick-controls
    qml6-module-qtquick-layouts qml6-module-qtquick-templates qml6-module-qtqml-workerscript
    qml6-module-qtquick-shapes
    libcurl4-openssl-dev libssl-dev nlohmann-json3-dev libsimdjson-dev libicu-dev
    # tests and benchmarks
    libgtest-dev libgmock-dev libcpp-httplib-dev libbenchmark-dev openssl
    xvfb xauth dbus dbus-bin xdotool x11-utils
    # the panel speaks to the X server for its hints and its outside-click watch
    libxcb1-dev libxcb-xinput-dev
)

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=()
[ "$(id -u)" -eq 0 ] || sudo=(sudo)
echo "Installing ${missing[*]}" >&2
"${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq
"${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" >/dev/null
