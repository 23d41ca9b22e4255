#!/usr/bin/env bash
# Installs what is missing, builds the benchmarks and prints their figures.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
"$root/scripts/setup.sh"
"$root/scripts/build.sh" test >/dev/null
for bench in "$root"/build/test/bench/bench_*; do
  [ -f "$bench" ] && [ -x "$bench" ] || continue  # not the autogen folders
  if [ "$(basename "$bench")" = bench_tray ]; then
    # The tray application on a headless desktop of its own.
    echo "== bench_tray"
    "$root/tests/desktop/run-desktop.sh" "$root/build/test/tests/tavi-desktop-helper" "$bench" || echo "(bench_tray failed)"
    continue
  fi
  echo "== $(basename "$bench")"
  # A figure over its budget is reported, not fatal: run every benchmark.
  "$bench" || echo "($(basename "$bench") reports a figure over budget)"
done
