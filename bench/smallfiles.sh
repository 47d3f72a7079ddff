#!/usr/bin/env bash
# The per-item cost of expansion: COUNT tiny files in ten folders, as a Zip
# (made by zip) and as a tkt5 archive (made by cratewerk tuck), expanded by
# cratewerk and by unzip side by side, on tmpfs where there is one. Prints
# the CPU time of each run and, where strace is installed, its system calls.
#   bash bench/smallfiles.sh [BUILD] [COUNT]
set -euo pipefail
build=${1:-build/release}
count=${2:-5000}
tool=$(realpath "$build/cratewerk")
base=/dev/shm
[ -d "$base" ] && [ -w "$base" ] || base=${TMPDIR:-/tmp}
work=$(mktemp -d "$base/cratewerk-small.XXXXXX")
trap 'rm -rf "$work"' EXIT

mkdir -p "$work/src/tiny"
for d in 0 1 2 3 4 5 6 7 8 9; do mkdir -p "$work/src/tiny/d$d"; done
python3 - "$work/src/tiny" "$count" <<'PY'
import sys
root, count = sys.argv[1], int(sys.argv[2])
for i in range(count):
    with open(f"{root}/d{i % 10}/f{i}.txt", "w") as f:
        f.write("x" * (i % 50 + 1))
PY
(cd "$work/src" && zip -qr ../tiny.zip tiny)
"$tool" tuck "$work/src/tiny" -o "$work/tiny.tkt5" >/dev/null

run() {
    local name=$1
    shift
    rm -rf "$work/out"
    /usr/bin/time -f "$name: %e s elapsed, %U s user, %S s system" "$@" >/dev/null
    if command -v strace >/dev/null; then
        rm -rf "$work/out"
        strace -c -f -o "$work/calls" "$@" >/dev/null
        echo "$name: $(tail -1 "$work/calls" | awk '{print $4}') system calls"
    fi
}

for round in 1 2 3; do
    run "cratewerk zip " "$tool" x "$work/tiny.zip" "$work/out"
    run "cratewerk tkt5" "$tool" x "$work/tiny.tkt5" "$work/out"
    run "unzip         " unzip -q "$work/tiny.zip" -d "$work/out"
done 2>&1
