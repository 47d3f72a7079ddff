#!/usr/bin/env bash
# Shows each dialog of the plug-in under Wine on a virtual X display and saves
# a PNG of it: build/dialogs/CRWK_PROGRESS.png, CRWK_PASSWORD.png, IDD_COMDLG32.png.
# Usage: dialogs.sh BUILD_DIR OUTPUT_DIR
set -euo pipefail
build=$1
out=$2
mkdir -p "$out"

export WINEPREFIX="${WINEPREFIX:-$HOME/.wine-cratewerk}" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
[ -x "$wine" ] || wine=$(command -v wine)

display=:$((90 + RANDOM % 100))
Xvfb "$display" -screen 0 800x600x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
trap 'kill $xvfb 2>/dev/null || true' EXIT
export DISPLAY=$display
sleep 2

shoot() {
    local which=$1 name=$2
    # A Wine desktop window draws the title bars that no window manager would.
    "$wine" explorer /desktop=cratewerk,800x600 "$build/dialogs.exe" "$which" 25000 >/dev/null 2>&1 &
    local shown=$!
    # Wine takes a while to start; the dialog stays up long enough.
    sleep "${DIALOG_WAIT:-12}"
    import -display "$display" -window root "$out/$name.full.png"
    convert "$out/$name.full.png" -trim +repage "$out/$name.png"
    rm -f "$out/$name.full.png"
    wait "$shown" || true
    echo "$out/$name.png"
}

shoot progress CRWK_PROGRESS
shoot password CRWK_PASSWORD
shoot chooser IDD_COMDLG32
