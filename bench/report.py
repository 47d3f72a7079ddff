#!/usr/bin/env python3
"""Reads Google Benchmark JSON and prints, for each PAIR/SIDE/FILE benchmark,
MB/s of our side and of each peer, the ratio ours/peer, and any size counters."""
import json
import sys
from collections import defaultdict

def main(path):
    with open(path) as f:
        data = json.load(f)
    rows = defaultdict(dict)   # (pair, file) -> side -> (MB/s, counters)
    for b in data["benchmarks"]:
        if b.get("run_type") == "aggregate" and b.get("aggregate_name") != "median":
            continue
        parts = [p for p in b["run_name"].split("/") if not p.startswith("repeats:")]
        if len(parts) < 3:
            continue
        pair, side, file = parts[0], parts[1], "/".join(parts[2:])
        mbs = b.get("bytes_per_second", 0.0) / 1e6
        counters = {k: v for k, v in b.items() if k in ("compressed", "ratio_pct")}
        rows[(pair, file)][side] = (mbs, counters)
    print(f"{'benchmark':34} {'side':12} {'MB/s':>10} {'vs peer':>9} {'compressed':>12}")
    for (pair, file), sides in sorted(rows.items()):
        ours = sides.get("cratewerk")
        for side, (mbs, counters) in sorted(sides.items(), key=lambda s: s[0] != "cratewerk"):
            ratio = ""
            if side != "cratewerk" and ours and mbs > 0:
                ratio = f"{ours[0] / mbs:8.2f}x"
            size = counters.get("compressed")
            size_text = f"{int(size):12d}" if size else ""
            print(f"{pair + '/' + file:34} {side:12} {mbs:10.1f} {ratio:>9} {size_text}")

if __name__ == "__main__":
    main(sys.argv[1])
