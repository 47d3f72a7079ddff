#!/usr/bin/env bash
# Runs every fuzz harness of a build for a number of seconds, several at once,
# each on its corpus (build/fuzz/corpus/NAME, grown from the seeds), and
# prints the executions and coverage each reached. Crashing inputs are left
# in build/fuzz/findings; the status is 1 when there is one.
#
#   fuzz/run.sh BUILD-FOLDER SECONDS [NAME...]
set -uo pipefail
build=$1
seconds=$2
shift 2
here=$(cd "$(dirname "$0")" && pwd)
targets=("$@")
[ ${#targets[@]} -eq 0 ] && targets=(inflate isp arsenic shrink reduce implode tkt5 zip tkt5records ziprecords classify
  arcmethods arc lha rar arj arjmethods bin hqx lzw gz bz2 compress tar uu btoa mime)

"$build/fuzz/cratewerk_fuzz_seeds" "$build/seeds" "$here/../tests/data" >/dev/null
mkdir -p "$build/findings" "$build/logs"
# FUZZ_JOBS harnesses run at once (default: one per processor); each still
# gets its own SECONDS.
jobs=${FUZZ_JOBS:-$(nproc)}

# one NAME: runs a harness and leaves its row of the table in logs/NAME.row.
one() {
  local t=$1 log="$build/logs/$1.log" rc runs line cov ft result dict=()
  mkdir -p "$build/corpus/$t" "$build/seeds/$t"
  # Inputs that once failed seed the corpus too.
  [ -d "$here/../tests/data/fuzz/$t" ] && cp -n "$here/../tests/data/fuzz/$t"/* "$build/corpus/$t/" 2>/dev/null
  [ -f "$here/dict/$t.dict" ] && dict=(-dict="$here/dict/$t.dict")
  ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=0 UBSAN_OPTIONS=print_stacktrace=1 \
    "$build/fuzz/fuzz_$t" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2560 -print_final_stats=1 \
    "${dict[@]}" -artifact_prefix="$build/findings/$t-" "$build/corpus/$t" "$build/seeds/$t" >"$log" 2>&1
  rc=$?
  runs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$' | tail -1)
  line=$(grep -E '^#[0-9]+' "$log" | tail -1)
  cov=$(sed -n 's/.* cov: \([0-9]*\).*/\1/p' <<<"$line")
  ft=$(sed -n 's/.* ft: \([0-9]*\).*/\1/p' <<<"$line")
  result=clean
  [ $rc -ne 0 ] && result="FINDING (see $log)"
  printf '%-12s %12s %8s %8s  %s\n' "$t" "${runs:-?}" "${cov:-?}" "${ft:-?}" "$result" >"$build/logs/$t.row"
}

for t in "${targets[@]}"; do
  rm -f "$build/logs/$t.row"
  while [ "$(jobs -rp | wc -l)" -ge "$jobs" ]; do wait -n; done
  one "$t" &
done
wait

status=0
printf '%-12s %12s %8s %8s  %s\n' harness executions edges features result
for t in "${targets[@]}"; do
  row=$(cat "$build/logs/$t.row" 2>/dev/null) || row=$(printf '%-12s  %s' "$t" "did not run")
  printf '%s\n' "$row"
  case $row in *clean) ;; *) status=1 ;; esac
done
exit $status
