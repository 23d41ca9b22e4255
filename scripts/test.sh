#!/usr/bin/env bash
# Installs what is missing, builds everything and runs the whole test suite:
# the regular build (unit, integration, command-line, widget, desktop and
# Wayland tests), then all but the command-line tests again under
# AddressSanitizer + UBSan, then a few seconds of each fuzz target on its seed
# corpus. The desktop tests start their own headless X server, window manager
# and session bus (tests/desktop/run-desktop.sh), the Wayland tests weston
# with XWayland (tests/desktop/run-wayland-desktop.sh).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
jobs="$(nproc 2>/dev/null || echo 2)"

"$root/scripts/setup.sh"

echo "== build (tests and benchmarks)"
"$root/scripts/build.sh" test
echo "== tests"
ctest --test-dir "$root/build/test" --output-on-failure -j "$jobs" --timeout 600

echo "== sanitizer build"
"$root/scripts/build.sh" asan tavi_unit_tests tavi_integration_tests tavi_widget_tests tavi tavi-tray \
  tavi-desktop-helper tavi_desktop_tests tavi_wayland_tests
echo "== tests under AddressSanitizer + UndefinedBehaviorSanitizer"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:strict_string_checks=1" \
  ctest --test-dir "$root/build/asan" --output-on-failure -j "$jobs" --timeout 600 -L 'unit|integration|widget'
# libxkbcommon-x11 (under Qt) copies names with strndup from buffers that
# hold exactly that many bytes, which strict string checks report.
ASAN_OPTIONS="detect_leaks=1:abort_on_error=1" \
  ctest --test-dir "$root/build/asan" --output-on-failure --timeout 600 -L 'desktop|wayland'

echo "== fuzz targets, a few seconds each"
"$root/scripts/build.sh" fuzz
"$root/scripts/fuzz.sh" 8
