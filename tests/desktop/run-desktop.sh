#!/usr/bin/env bash
# Runs a command inside a headless desktop of its own: Xvfb with two
# monitors side by side, openbox, a private D-Bus session bus and a
# StatusNotifierWatcher, as a desktop's panel offers it. Everything started
# here ends with the command.
#   run-desktop.sh HELPER COMMAND [ARGS...]   (HELPER: the tavi-desktop-helper binary)
set -euo pipefail
helper="$1"
shift

work="$(mktemp -d)"
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
# Marks every process of this desktop, for anyone hunting strays.
export TAVI_DESKTOP_TEST="$$"
export XDG_RUNTIME_DIR="$work/runtime"
mkdir -m 700 "$XDG_RUNTIME_DIR"
unset WAYLAND_DISPLAY

# Xvfb picks a free display number and writes it to the pipe.
mkfifo "$work/display"
Xvfb -displayfd 3 -noreset -nolisten tcp -screen 0 3840x1080x24 3>"$work/display" 2>"$work/xvfb.log" &
pids+=($!)
if ! read -r -t 20 number <"$work/display"; then
  echo "run-desktop: Xvfb did not start" >&2; cat "$work/xvfb.log" >&2; exit 1
fi
export DISPLAY=":$number"
# Two 1920x1080 monitors, before the window manager starts.
xrandr --setmonitor M1 1920/508x1080/286+0+0 screen >/dev/null
xrandr --setmonitor M2 1920/508x1080/286+1920+0 none >/dev/null

mkfifo "$work/bus"
dbus-daemon --session --nofork --nopidfile --print-address=4 4>"$work/bus" &
pids+=($!)
if ! read -r -t 20 DBUS_SESSION_BUS_ADDRESS <"$work/bus"; then
  echo "run-desktop: dbus-daemon did not start" >&2; exit 1
fi
export DBUS_SESSION_BUS_ADDRESS

openbox --sm-disable >"$work/openbox.log" 2>&1 &
pids+=($!)
"$helper" wait-wm 20 || { echo "run-desktop: openbox did not manage windows" >&2; cat "$work/openbox.log" >&2; exit 1; }

"$helper" sni-watcher >"$work/watcher.log" 2>&1 &
pids+=($!)
"$helper" wait-bus-name org.kde.StatusNotifierWatcher 20 || { echo "run-desktop: no watcher" >&2; exit 1; }

status=0
"$@" || status=$?
exit "$status"
