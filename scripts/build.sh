#!/usr/bin/env bash
# Configures and builds one flavour of the tree.
#   scripts/build.sh release            the tavi binary alone, optimised
#   scripts/build.sh test               everything, with tests and benchmarks
#   scripts/build.sh asan [TARGET...]   AddressSanitizer + UBSan build of the given targets
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
flavour="${1:-release}"
shift || true
jobs="$(nproc 2>/dev/null || echo 2)"

case "$flavour" in
  release) dir="$root/build/release"; flags=(-DCMAKE_BUILD_TYPE=Release -DTAVI_BUILD_TESTS=OFF -DTAVI_BUILD_BENCH=OFF); targets=(tavi) ;;
  test)    dir="$root/build/test";    flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo); targets=(all) ;;
  asan)    dir="$root/build/asan";    flags=(-DCMAKE_BUILD_TYPE=Debug -DTAVI_SANITIZE=ON -DTAVI_BUILD_BENCH=OFF); targets=("$@") ;;
  *) echo "unknown build flavour: $flavour" >&2; exit 2 ;;
esac
[ ${#targets[@]} -gt 0 ] || targets=(all)

cmake -S "$root" -B "$dir" "${flags[@]}" >/dev/null
for target in "${targets[@]}"; do
  cmake --build "$dir" --target "$target" -j "$jobs"
done
