#!/usr/bin/env bash
# Installs the Debian packages that building, running and testing Quillon need, when any are
# missing. Quiet and quick when everything is already there.
set -euo pipefail
source "$(dirname "$0")/lib/apt.sh"

packages=(
    # toolchain
    cmake ninja-build g++ pkg-config clang libclang-rt-dev clang-tidy clang-format
    # libraries
    qt6-base-dev qt6-declarative-dev qt6-svg-dev qt6-qpa-plugins libgl-dev
    qml6-module-qtquick qml6-module-qtquick-window qml6-module-qtquick-controls
    qml6-module-qtquick-layouts qml6-module-qtquick-templates qml6-module-qtqml-workerscript
    qml6-module-qtquick-shapes
    libcurl4-openssl-dev libssl-dev nlohmann-json3-dev libsimdjson-dev libicu-dev
    # tests and benchmarks
    libgtest-dev libgmock-dev libcpp-httplib-dev libbenchmark-dev openssl
    xvfb xauth dbus dbus-bin xdotool x11-utils
    # the Debian package: CPack reads the binary with file and its libraries with dpkg-shlibdeps
    file dpkg-dev
    # the panel speaks to the X server for its hints and its outside-click watch
    libxcb1-dev libxcb-xinput-dev libxcb-shape0-dev
)

install_missing "${packages[@]}"
