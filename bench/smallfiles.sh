#!/usr/bin/env bash
# The per-item cost of expansion: COUNT tiny files in ten folders, as a Zip
# (made by zip) and as a tkt5 archive (made by cratewerk tuck), expanded by
# cratewerk and by unzip side by side, on tmpfs where there is one. Where arc
# is installed, also 2,000 short texts in an ARC archive (crunched, so that
# each item goes through the LZW decoder), beside arc itself. Prints the CPU
# time of each run and, where strace is installed, its system calls.
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
if command -v arc >/dev/null; then
    mkdir -p "$work/arc"
    python3 - "$work/arc" <<'PY'
import random, sys
random.seed(5)
words = "the of archive stream window table code crunch squash byte file folder data".split()
for i in range(2000):
    with open(f"{sys.argv[1]}/f{i}.txt", "w") as f:
        f.write(" ".join(random.choice(words) for _ in range(60 + i % 40)) + "\n")
PY
    (cd "$work/arc" && arc a ../tiny.arc *.txt >/dev/null)
fi

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
    if [ -f "$work/tiny.arc" ]; then
        run "cratewerk arc " "$tool" x "$work/tiny.arc" "$work/out"
        run "arc           " sh -c 'mkdir "$1" && cd "$1" && arc x "$2" >/dev/null' sh "$work/out" "$work/tiny.arc"
    fi
done 2>&1
