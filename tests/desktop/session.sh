# What the test sessions share (run-desktop.sh and run-wayland-desktop.sh
# source this): a scratch folder and a runtime folder of their own, a private
# D-Bus session bus, a StatusNotifierWatcher as a desktop's panel offers it,
# and an end to everything they started when the command ends.
# $session names the script in its messages.

work="$(mktemp -d)"
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
# Marks every process of this session, for anyone hunting strays.
export TAVI_DESKTOP_TEST="$$"
export XDG_RUNTIME_DIR="$work/runtime"
mkdir -m 700 "$XDG_RUNTIME_DIR"

# An Xvfb of the given size ("3840x1080x24") on a display number it picks
# itself; $xvfb_display names it (":7").
start_xvfb() {
  mkfifo "$work/display"
  Xvfb -displayfd 3 -noreset -nolisten tcp -screen 0 "$1" 3>"$work/display" 2>"$work/xvfb.log" &
  pids+=($!)
  local number
  if ! read -r -t 20 number <"$work/display"; then
    echo "$session: Xvfb did not start" >&2; cat "$work/xvfb.log" >&2; exit 1
  fi
  xvfb_display=":$number"
}

# A dbus-daemon of the session's own; DBUS_SESSION_BUS_ADDRESS names it.
start_session_bus() {
  mkfifo "$work/bus"
  dbus-daemon --session --nofork --nopidfile --print-address=4 4>"$work/bus" &
  pids+=($!)
  if ! read -r -t 20 DBUS_SESSION_BUS_ADDRESS <"$work/bus"; then
    echo "$session: dbus-daemon did not start" >&2; exit 1
  fi
  export DBUS_SESSION_BUS_ADDRESS
}

# The tray watcher of the helper binary, on that bus.
start_tray_watcher() {
  "$1" sni-watcher >"$work/watcher.log" 2>&1 &
  pids+=($!)
  "$1" wait-bus-name org.kde.StatusNotifierWatcher 20 || { echo "$session: no watcher" >&2; exit 1; }
}

# Runs the command and exits with its status.
run_in_session() {
  local status=0
  "$@" || status=$?
  exit "$status"
}
