#!/usr/bin/env bash
# Runs the libFuzzer targets under fuzz/ (built by scripts/build.sh fuzz).
#   scripts/fuzz.sh [SECONDS] [TARGET...]   default: 8 seconds each, every target
# Each target starts from its seed corpus (fuzz/corpus/TARGET) and the inputs
# earlier runs kept (build/fuzz/corpus/TARGET, where new ones go); whatever
# it finds lands in build/fuzz/findings/. Exits non-zero after any finding.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
seconds="${1:-8}"
shift || true
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for source in "$root"/fuzz/fuzz_*.cpp; do targets+=("$(basename "$source" .cpp)"); done
fi

findings="$root/build/fuzz/findings"
mkdir -p "$findings"
status=0
for target in "${targets[@]}"; do
  work="$root/build/fuzz/corpus/$target"
  log="$root/build/fuzz/$target.log"
  mkdir -p "$work"
  if "$root/build/fuzz/fuzz/$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
       -print_final_stats=1 -artifact_prefix="$findings/$target-" "$work" "$root/fuzz/corpus/$target" \
       >"$log" 2>&1; then
    runs="$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")"
    echo "$target: ${runs:-?} runs in ${seconds} s, nothing found"
  else
    echo "$target: FOUND A PROBLEM (log: $log, input: $findings)"
    tail -n 30 "$log"
    status=1
  fi
done
exit "$status"
