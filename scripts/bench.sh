#!/usr/bin/env bash
# Installs what is missing, builds the benchmarks and prints their figures.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
"$root/scripts/setup.sh"
"$root/scripts/build.sh" test >/dev/null
for bench in "$root"/build/test/bench/bench_*; do
  [ -x "$bench" ] || continue
  echo "== $(basename "$bench")"
  # A figure over its budget is reported, not fatal: run every benchmark.
  "$bench" || echo "($(basename "$bench") reports a figure over budget)"
done
