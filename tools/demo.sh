#!/usr/bin/env bash
# Runs the command-line tool and the host emulator on the bundled samples and
# shows what they print. Usage: demo.sh BUILD_DIR
set -uo pipefail
build=$1
samples=tests/data/cli
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$samples"/* "$work"/

show() {
    printf '$'
    for a in "$@"; do
        if [[ -z $a || $a =~ [^A-Za-z0-9_./=-] ]]; then printf " '%s'" "$a"; else printf ' %s' "$a"; fi
    done
    echo
    (cd "$work" && "$@" 2>&1)
    local status=$?
    [ $status -ne 0 ] && echo "(exit status $status)"
    echo
}

export PATH="$(realpath "$build"):$PATH"
cp "$build/Cratewerk.so" "$work/"

show cratewerk version
show cratewerk identify bla.zip bla.tgz zip2-files_and_dirs.zip notes.txt
show cratewerk list bla.zip
show cratewerk expand bla.zip
show cratewerk list bla.tgz
show cratewerk expand bla.tgz
show cratewerk expand notes.txt
show cratewerk call CRwrk-Expand './bla.zip||'
show cratewerk call CRwrk-Expand './bla.tgz||'
show cratewerk call CRwrk-Tuck ''
show fmhost ./Cratewerk.so CRwrk-gZip . CRwrk-Zip bla.zip CRwrk-GetPath '-sideways'
exit 0
