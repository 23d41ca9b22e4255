# Shared by the installation checks: named checks that report every failure
# and a closing count, and what a complete installation holds.

passed=0
failed=0

pass() { passed=$((passed + 1)); }
fail() {
  failed=$((failed + 1))
  echo "FAIL: $*" >&2
}

# check NAME COMMAND...: the command succeeds (its output is shown if not).
check() {
  local name="$1" output
  shift
  if output="$("$@" 2>&1)"; then pass; else fail "$name: $output"; fi
}

check_same() {
  if [[ "$2" == "$3" ]]; then pass; else fail "$1: expected"$'\n'"$2"$'\n'"got"$'\n'"$3"; fi
}

check_contains() {
  if [[ "$3" == *"$2"* ]]; then pass; else fail "$1: no \"$2\" in"$'\n'"$3"; fi
}

finish() {
  echo "$passed passed, $failed failed"
  [[ $failed -eq 0 ]]
}

icon_sizes="16 22 24 32 48 64 128 256"

# Every file of an installation, relative to its prefix, sorted.
expected_files() {
  {
    printf '%s\n' bin/tavi libexec/tavi/tavi-tray \
      share/applications/org.morvel.Tavi.desktop \
      share/metainfo/org.morvel.Tavi.metainfo.xml \
      share/dbus-1/services/org.morvel.Tavi.service \
      share/bash-completion/completions/tavi \
      share/icons/hicolor/scalable/apps/org.morvel.Tavi.svg
    for size in $icon_sizes; do
      echo "share/icons/hicolor/${size}x${size}/apps/org.morvel.Tavi.png"
    done
  } | LC_ALL=C sort
}
