#!/usr/bin/env bash
# Puts Quillon's GNOME Shell extension together in a folder, for the shell that will run it:
#
#   build.sh OUT_DIR modern    GNOME Shell 45 and later: the ES modules as they stand
#   build.sh OUT_DIR legacy    GNOME Shell 43 and 44: the shared code turned into a script for
#                              the shell's legacy imports, beside the legacy entry point
#   build.sh OUT_DIR auto      whichever fits the gnome-shell installed here (modern if none)
#
# OUT_DIR becomes the extension's folder, e.g. ~/.local/share/gnome-shell/extensions/<uuid>.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
out=${1:?usage: build.sh OUT_DIR modern|legacy|auto}
variant=${2:-auto}
uuid=quillon@quillon.org

if [ "$variant" = auto ]; then
    # No gnome-shell here (a build machine without a desktop): the modern variant.
    major=$( (gnome-shell --version 2>/dev/null || true) | sed -n 's/^GNOME Shell \([0-9]*\).*/\1/p')
    variant=modern
    [ -n "$major" ] && [ "$major" -lt 45 ] && variant=legacy
fi

mkdir -p "$out/icons"
rm -f "$out"/*.js
cp "$here/../packaging/icons/quillon-symbolic.svg" "$out/icons/"
case "$variant" in
modern)
    versions='"45", "46", "47", "48"'
    cp "$here/src/extension.js" "$here/src/quillon.js" "$out/"
    ;;
legacy)
    versions='"43", "44"'
    cp "$here/legacy/extension.js" "$out/"
    # A legacy module exports its top-level var and function declarations.
    sed -E -e 's/^export (const|let) /var /' \
        -e 's/^export function /function /' \
        -e 's/^export class ([A-Za-z_]+)/var \1 = class \1/' \
        "$here/src/quillon.js" >"$out/quillon.js"
    # The class expression above ends with its closing brace; the statement needs its semicolon.
    awk 'BEGIN { inside = 0 }
        /^var [A-Za-z_]+ = class / { inside = 1 }
        inside && /^}$/ { print "};"; inside = 0; next }
        { print }' "$out/quillon.js" >"$out/quillon.js.tmp"
    mv "$out/quillon.js.tmp" "$out/quillon.js"
    if grep -q '^export ' "$out/quillon.js"; then
        echo "build.sh: an export the legacy variant cannot take is left in quillon.js" >&2
        exit 1
    fi
    ;;
*)
    echo "build.sh: unknown variant $variant (modern, legacy or auto)" >&2
    exit 2
    ;;
esac
sed -e "s/@UUID@/$uuid/" -e "s/@SHELL_VERSIONS@/$versions/" "$here/metadata.json.in" >"$out/metadata.json"
