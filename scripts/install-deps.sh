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
    # the MCP server's tests drive it with the official TypeScript SDK's client
    nodejs
    # the Debian package: CPack reads the binary with file and its libraries with dpkg-shlibdeps
    file dpkg-dev
    # the panel speaks to the X server for its hints and its outside-click watch
    libxcb1-dev libxcb-xinput-dev libxcb-shape0-dev
    # the GNOME Shell extension's unit tests
    gjs
)
# ESLint for the GNOME Shell extension and the MCP tests' SDK client run on Node.js; a node and npm
# installed otherwise (a newer release from elsewhere, which brings its own npm and conflicts with
# Debian's) serve as well as Debian's.
command -v npm >/dev/null 2>&1 || packages+=(npm)

install_missing "${packages[@]}"

# The SDK client's packages, exactly as package-lock.json pins them. Nothing is fetched when they
# are already installed, so a machine without the registry builds and tests once they are.
mcp_tests="$(dirname "$0")/../tests/mcp"
if ! cmp -s "$mcp_tests/package-lock.json" "$mcp_tests/node_modules/.installed-lock.json"; then
    # npm trusts its own list of certificate authorities only; the system's is what a proxy's
    # authority is added to.
    if [ -z "${NODE_EXTRA_CA_CERTS:-}" ] && [ -r /etc/ssl/certs/ca-certificates.crt ]; then
        export NODE_EXTRA_CA_CERTS=/etc/ssl/certs/ca-certificates.crt
    fi
    npm ci --prefix "$mcp_tests" --no-audit --no-fund --loglevel=error
    cp "$mcp_tests/package-lock.json" "$mcp_tests/node_modules/.installed-lock.json"
fi
