#!/usr/bin/env bash
# Builds the fixed benchmark corpus in the folder given (default build/corpus)
# from files every build machine has: C++ headers for text, the compiler's
# binary for code, and generated records for structured data. The same machine
# image always gives the same corpus.
set -euo pipefail
dir=${1:-build/corpus}
size=$((4 * 1024 * 1024))
mkdir -p "$dir"

if [ ! -s "$dir/text" ]; then
  find /usr/include/c++ -type f -name '*.h' -o -type f -path '*/c++/*/[a-z]*' 2>/dev/null | LC_ALL=C sort |
    xargs cat 2>/dev/null | head -c "$size" > "$dir/text.tmp" || true
  mv "$dir/text.tmp" "$dir/text"
fi

if [ ! -s "$dir/code" ]; then
  compiler=$(g++ -print-prog-name=cc1plus)
  head -c "$size" "$compiler" > "$dir/code.tmp"
  mv "$dir/code.tmp" "$dir/code"
fi

if [ ! -s "$dir/records" ]; then
  awk 'BEGIN {
    srand(20261121);
    split("Aachen Berlin Cairo Dakar Essen Fresno Genoa Hanoi Izmir Jakarta", city, " ");
    for (i = 0; i < 60000; i++) {
      printf "%08d|%s|%04d-%02d-%02d|%10.2f|%s|%d\n", i, city[int(rand() * 10) + 1],
        1990 + int(rand() * 35), 1 + int(rand() * 12), 1 + int(rand() * 28),
        rand() * 100000, (rand() < 0.5 ? "open" : "closed"), int(rand() * 1000);
    }
  }' | head -c "$size" > "$dir/records.tmp" || true
  mv "$dir/records.tmp" "$dir/records"
fi
ls -l "$dir" >&2
