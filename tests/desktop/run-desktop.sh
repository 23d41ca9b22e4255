#!/usr/bin/env bash
# Runs a command inside a headless desktop of its own: Xvfb with two
# monitors side by side, openbox, a private D-Bus session bus and a
# StatusNotifierWatcher, as a desktop's panel offers it. Everything started
# here ends with the command.
#   run-desktop.sh HELPER COMMAND [ARGS...]   (HELPER: the tavi-desktop-helper binary)
set -euo pipefail
helper="$1"
shift

session=run-desktop
# shellcheck source=session.sh
source "$(dirname "$0")/session.sh"
unset WAYLAND_DISPLAY

start_xvfb 3840x1080x24
export DISPLAY="$xvfb_display"
# Two 1920x1080 monitors, before the window manager starts.
xrandr --setmonitor M1 1920/508x1080/286+0+0 screen >/dev/null
xrandr --setmonitor M2 1920/508x1080/286+1920+0 none >/dev/null

start_session_bus

openbox --sm-disable >"$work/openbox.log" 2>&1 &
pids+=($!)
"$helper" wait-wm 20 || { echo "run-desktop: openbox did not manage windows" >&2; cat "$work/openbox.log" >&2; exit 1; }

start_tray_watcher "$helper"

run_in_session "$@"
