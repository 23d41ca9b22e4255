#!/usr/bin/env bash
# Runs a command inside a Wayland session of its own: weston with XWayland,
# a private D-Bus session bus and a StatusNotifierWatcher. Everything started
# here ends with the command.
#   run-wayland-desktop.sh HELPER COMMAND [ARGS...]   (HELPER: the tavi-desktop-helper binary)
#
# The command gets WAYLAND_DISPLAY, DISPLAY (XWayland's), XDG_SESSION_TYPE=wayland
# and TAVI_WAYLAND_INPUT_DISPLAY: the X server weston reads its keyboard and
# pointer from. Weston's headless backend has no seat at all (no keyboard, no
# pointer, so no focus and no selections), so weston runs on its X11 backend
# inside a hidden Xvfb instead: XTest key presses and pointer moves there are
# the user's hands, and reach Wayland and X11 windows alike, as real input does
# (a pointer moved there should go out of weston's window and in again first:
# see below).
# Exits 77 (skipped) when weston or Xwayland is not installed.
set -euo pipefail
helper="$1"
shift

for program in weston Xwayland Xvfb; do
  if ! command -v "$program" >/dev/null; then
    echo "run-wayland-desktop: $program is not installed (scripts/setup.sh installs it): skipped" >&2
    exit 77
  fi
done

session=run-wayland-desktop
# shellcheck source=session.sh
source "$(dirname "$0")/session.sh"
# weston.ini and the user's other settings stay out of it.
export XDG_CONFIG_HOME="$work/config"
mkdir "$XDG_CONFIG_HOME"

# Weston's window takes the top-left 1920x1080 of it. Weston moves its
# pointer by the distance the X pointer moved, and puts it where the X pointer
# is only when that enters its window: the margin is where the pointer goes
# out, so that it comes in exactly where it is sent.
start_xvfb 2000x1200x24
export TAVI_WAYLAND_INPUT_DISPLAY="$xvfb_display"

socket="tavi-wayland-$$"
DISPLAY="$TAVI_WAYLAND_INPUT_DISPLAY" weston --backend=x11-backend.so --use-pixman --width=1920 --height=1080 \
  --xwayland --socket="$socket" --no-config --idle-time=0 --log="$work/weston.log" >/dev/null 2>&1 &
pids+=($!)
# Weston listens for X clients at once and starts Xwayland at the first one;
# the display it took (the first free number) is only in its log.
xdisplay=""
for _ in $(seq 200); do
  xdisplay="$(sed -n 's/.*xserver listening on display \(:[0-9]*\).*/\1/p' "$work/weston.log" 2>/dev/null | head -n1 || true)"
  [ -n "$xdisplay" ] && [ -S "$XDG_RUNTIME_DIR/$socket" ] && break
  sleep 0.1
done
if [ -z "$xdisplay" ]; then
  echo "run-wayland-desktop: weston started no XWayland" >&2; cat "$work/weston.log" >&2; exit 1
fi
export WAYLAND_DISPLAY="$socket" DISPLAY="$xdisplay" XDG_SESSION_TYPE=wayland

start_session_bus

# The first X client starts Xwayland; weston's window manager then manages
# X11 windows like any other desktop's.
"$helper" wait-wm 20 || { echo "run-wayland-desktop: XWayland windows are not managed" >&2; cat "$work/weston.log" >&2; exit 1; }

start_tray_watcher "$helper"

run_in_session "$@"
