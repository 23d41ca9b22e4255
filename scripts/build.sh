#!/usr/bin/env bash
# Configures and builds one flavour of the tree.
#   scripts/build.sh release            the tavi binary alone, optimised
#   scripts/build.sh test               everything, with tests and benchmarks
#   scripts/build.sh asan [TARGET...]   AddressSanitizer + UBSan build of the given targets
#   scripts/build.sh fuzz               the libFuzzer targets under fuzz/, with clang
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
flavour="${1:-release}"
shift || true
jobs="$(nproc 2>/dev/null || echo 2)"

case "$flavour" in
  release) dir="$root/build/release"; flags=(-DCMAKE_BUILD_TYPE=Release -DTAVI_BUILD_TESTS=OFF -DTAVI_BUILD_BENCH=OFF); targets=(tavi) ;;
  test)    dir="$root/build/test";    flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo); targets=(all) ;;
  asan)    dir="$root/build/asan";    flags=(-DCMAKE_BUILD_TYPE=Debug -DTAVI_SANITIZE=ON -DTAVI_BUILD_BENCH=OFF); targets=("$@") ;;
  fuzz)    dir="$root/build/fuzz";    flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++-14
                                              -DTAVI_BUILD_FUZZERS=ON -DTAVI_BUILD_TESTS=OFF -DTAVI_BUILD_BENCH=OFF)
           targets=()
           for source in "$root"/fuzz/fuzz_*.cpp; do targets+=("$(basename "$source" .cpp)"); done ;;
  *) echo "unknown build flavour: $flavour" >&2; exit 2 ;;
esac
[ ${#targets[@]} -gt 0 ] || targets=(all)

cmake -S "$root" -B "$dir" "${flags[@]}" >/dev/null
for target in "${targets[@]}"; do
  cmake --build "$dir" --target "$target" -j "$jobs"
done
