#!/usr/bin/env bash
# Makes docs/zel-main-window.png and docs/demo-page.png: a simulated push down the rig's built-in site with
# zel-cli, then zel showing that log under a virtual X server (its main window saved by zel's own
# --screenshot), and the log's page made by zel-cli page (with a demo company and tools/demo-logo.png in its
# title block) and turned into a picture.
#   tools/screenshot.sh [OUTPUT.png]     (default docs/zel-main-window.png; build dir: $ZEL_BUILD_DIR or build)
set -euo pipefail
cd "$(dirname "$0")/.."
ROOT=$PWD
BUILD=${ZEL_BUILD_DIR:-build}
OUT=${1:-$ROOT/docs/zel-main-window.png}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; elif command -v sudo >/dev/null; then sudo "$@"; else
        echo "screenshot.sh: need root (or sudo) to run: $*" >&2
        exit 1
    fi
}

install_missing() { # package list
    local missing=() p
    while read -r p; do
        p=${p%%#*}
        p=${p//[[:space:]]/}
        [ -n "$p" ] || continue
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
    done <"$1"
    if [ ${#missing[@]} -gt 0 ]; then
        echo "screenshot.sh: installing ${missing[*]}" >&2
        as_root env DEBIAN_FRONTEND=noninteractive apt-get update -qq
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
    fi
}

./zel.sh setup
install_missing "$ROOT/tools/debian-packages-screenshot.txt"
[ -f "$BUILD/CMakeCache.txt" ] || cmake -S "$ROOT" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$BUILD" --target zel zel-cli zel-sim

WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT
# A data root of its own: the picture shows the design-time settings, not this machine's options file.
export ZEL_DATA_ROOT=$WORK/data
# ... but for the company and logo of the page's title block, as an operator sets them on the Advanced page.
mkdir -p "$ZEL_DATA_ROOT/ini"
printf '[AdvOptions]\r\n1,txtCompany=Demo Site Services\r\n2,txtLogoFile=%s\r\n' "$ROOT/tools/demo-logo.png" \
    >"$ZEL_DATA_ROOT/ini/ZEL_Options.ini"
"$BUILD/bin/zel-cli" push --sim --points 10001 --idle-s 4 --rate 1 --rod-pause-s 0.5 --sweep-ms 2 \
    --out "$WORK/demo" --name Demo --yes >/dev/null 2>"$WORK/push.err" || { cat "$WORK/push.err" >&2; exit 1; }
mkdir -p "$(dirname "$OUT")"
xvfb-run -a -s "-screen 0 1400x900x24" "$BUILD/bin/zel" "$WORK/demo/Demo.lif.raw.bin" --screenshot "$OUT"
echo "screenshot.sh: wrote $OUT"
PAGE=$(dirname "$OUT")/demo-page.png
"$BUILD/bin/zel-cli" page "$WORK/demo/Demo.lif.raw.bin" --pdf --to "$WORK" 2>/dev/null
pdftoppm -r 100 -png -singlefile "$WORK/Demo.pdf" "${PAGE%.png}"
echo "screenshot.sh: wrote $PAGE"
