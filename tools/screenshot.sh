#!/usr/bin/env bash
# Makes the README's pictures the way an operator works: zel started on the simulated rig under a virtual X
# server and driven through its menus with the keyboard (Background, RE, Record, the log's name typed into the
# save dialog, Stop), with the window saved during the push (docs/zel-live-push.png) and after it
# (docs/zel-main-window.png); then the pushed log's page from zel-cli page (with a demo company and
# tools/demo-logo.png in its title block) turned into docs/demo-page.png.
#   tools/screenshot.sh [FOLDER]     (default docs; build dir: $ZEL_BUILD_DIR or build)
set -euo pipefail
cd "$(dirname "$0")/.."
ROOT=$PWD
BUILD=$(readlink -f "${ZEL_BUILD_DIR:-build}")
OUT=${1:-$ROOT/docs}

# Two callouts over the built-in site's plume, saved as the Callouts page saves a scheme: a "PLOT_" section
# of the companion with each band's first and last point (the rows of the data export within its range).
# $1: the log's path without ".lif.raw.bin".
add_callouts() {
    local log=$1 n=1 slot
    n=$(($(grep -ci '^\[plot' "$log.lif.plt" || true) + 1))
    points_in() { # top bottom: "first,last" (the export's first row is its header)
        awk -F'\t' -v top="$1" -v bottom="$2" \
            'NR > 1 && $1 + 0 >= top && $1 + 0 <= bottom { if (first == "") first = NR - 2; last = NR - 2 }
             END { print (first == "" ? "-1,-1" : first "," last) }' "$log.lif.dat.txt"
    }
    {
        printf '[PLOT_%d]\r\nTime=%s\r\nLabel=Demo\r\n' "$n" "$(date -u '+%m/%d/%Y %I:%M:%S %p')"
        printf 'Index C0=%s\r\nRange C0=11.0,14.0\r\nNote C0= \r\nText C0=Upper plume\r\nPic C0= \r\n' \
            "$(points_in 11.0 14.0)"
        printf 'Index C1=%s\r\nRange C1=14.6,16.0\r\nNote C1= \r\nText C1=Plume core\r\nPic C1= \r\n' \
            "$(points_in 14.6 16.0)"
        for slot in 2 3 4; do
            printf 'Index C%d=0,0\r\nRange C%d=.0,.0\r\nNote C%d= \r\nText C%d= \r\nPic C%d= \r\n' \
                "$slot" "$slot" "$slot" "$slot" "$slot"
        done
    } >>"$log.lif.plt"
}

# Inside the virtual X server: drive the window. $1: the work folder, $2: the pictures' folder.
if [ "${SCREENSHOT_INSIDE:-}" = 1 ]; then
    WORK=$1
    OUT=$2
    cd "$WORK/demo" # where the save dialog opens
    "$BUILD/bin/zel" --sim --rate 0.3 --sweep-ms 2 >"$WORK/zel.out" 2>&1 &
    ZEL=$!
    trap 'pkill -P $ZEL 2>/dev/null; kill $ZEL 2>/dev/null || true' EXIT
    WINDOW=""
    for _ in $(seq 60); do
        WINDOW=$(xdotool search --onlyvisible --name '^ZEL' 2>/dev/null | head -1 || true)
        [ -n "$WINDOW" ] && break
        sleep 1
    done
    [ -n "$WINDOW" ] || { echo "screenshot.sh: zel's window did not appear" >&2; cat "$WORK/zel.out" >&2; exit 1; }
    sleep 3
    # No window manager gives the focus back after a dialog: every key goes to the main window first.
    key() { xdotool windowfocus --sync "$WINDOW" 2>/dev/null || true; xdotool key "$@"; }
    menu() { key alt+a; sleep 0.5; xdotool key "$1"; sleep 3; } # an Acquisition menu entry by its letter
    menu b # Background
    menu r # RE
    key F5 # Record: the save dialog asks for the log's name
    sleep 2
    xdotool type --delay 50 "Demo"
    xdotool key Return
    sleep 2
    xdotool key Return # the first push's question about the Info page: OK
    sleep 50 # into the plume
    import -window "$WINDOW" "$OUT/zel-live-push.png"
    sleep 80 # on to the site's bottom
    key F7 # Stop
    sleep 4
    xdotool key Escape # a rate caution, if the push went too fast
    sleep 2
    xdotool key Escape # the summary: do not open the folder
    sleep 2
    # The operator marks two callouts over the plume and opens the log again: the window shows them, and
    # the page below takes the same scheme.
    add_callouts "$WORK/demo/Demo"
    key ctrl+o # Load log: the file's name typed into the dialog
    sleep 2
    xdotool type --delay 30 "$WORK/demo/Demo.lif.raw.bin"
    xdotool key Return
    sleep 4
    # A click on the plot at the plume's peak (the whole log's 0-30 ft fill the plot's height) selects it.
    xdotool mousemove --window "$WINDOW" 600 430 click 1
    sleep 2
    import -window "$WINDOW" "$OUT/zel-main-window.png"
    exit 0
fi

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
mkdir -p "$OUT" "$WORK/demo"
(SCREENSHOT_INSIDE=1 xvfb-run -a -s "-screen 0 1400x900x24" "$ROOT/tools/screenshot.sh" "$WORK" \
    "$(readlink -f "$OUT")")
[ -f "$WORK/demo/Demo.lif.raw.bin" ] || { echo "screenshot.sh: the push wrote no log" >&2; exit 1; }
echo "screenshot.sh: wrote $OUT/zel-live-push.png and $OUT/zel-main-window.png"
"$BUILD/bin/zel-cli" page "$WORK/demo/Demo.lif.raw.bin" --pdf --to "$WORK" 2>/dev/null
pdftoppm -r 100 -png -singlefile "$WORK/Demo.pdf" "$OUT/demo-page"
echo "screenshot.sh: wrote $OUT/demo-page.png"
