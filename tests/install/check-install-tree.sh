#!/usr/bin/env bash
# Installs the build into a fresh prefix and checks what a desktop and a user
# find there: every file in its place and nothing else, the desktop entry and
# the AppStream data accepted by their validators, the bus service naming the
# installed command, and a bare `tavi` that reaches the installed tray.
#   check-install-tree.sh BUILD_DIR VERSION
set -uo pipefail
build="$1"
version="$2"
here="$(dirname "$0")"
source "$here/checks.sh"

prefix="$(mktemp -d /tmp/tavi-install-XXXXXX)"
bus_pid=""
trap '[[ -z "$bus_pid" ]] || kill "$bus_pid"; rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >"$prefix.log" 2>&1 || { cat "$prefix.log"; rm -f "$prefix.log"; exit 1; }
rm -f "$prefix.log"

check_same "installed files" "$(expected_files)" "$(cd "$prefix" && find . -type f -printf '%P\n' | LC_ALL=C sort)"
for program in bin/tavi libexec/tavi/tavi-tray; do
  check "$program is executable" test -x "$prefix/$program"
done
for size in $icon_sizes; do
  check_contains "${size}px icon" "PNG image data, $size x $size, 8-bit/color RGBA" \
    "$(file "$prefix/share/icons/hicolor/${size}x${size}/apps/org.morvel.Tavi.png")"
done

check "desktop-file-validate" desktop-file-validate "$prefix/share/applications/org.morvel.Tavi.desktop"
check "appstreamcli validate" appstreamcli validate --no-net "$prefix/share/metainfo/org.morvel.Tavi.metainfo.xml"
check_same "D-Bus service file" "$(printf '[D-BUS Service]\nName=org.morvel.Tavi\nExec=%s/bin/tavi' "$prefix")" \
  "$(cat "$prefix/share/dbus-1/services/org.morvel.Tavi.service")"

# A session bus that reads the installed services starts the installed
# command by the name: with no display it runs and exits 1, where a wrong
# path would fail to execute at all.
mkdir "$prefix/bus"
cat >"$prefix/bus/session.conf" <<EOF
<busconfig>
  <type>session</type>
  <listen>unix:tmpdir=$prefix/bus</listen>
  <servicedir>$prefix/share/dbus-1/services</servicedir>
  <policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy>
</busconfig>
EOF
bus="$(env -u DISPLAY -u WAYLAND_DISPLAY dbus-daemon --config-file="$prefix/bus/session.conf" --fork \
  --print-address=1 --print-pid=1)"
bus_pid="$(sed -n 2p <<<"$bus")"
started="$(DBUS_SESSION_BUS_ADDRESS="$(sed -n 1p <<<"$bus")" dbus-send --session --print-reply \
  --dest=org.freedesktop.DBus / org.freedesktop.DBus.StartServiceByName string:org.morvel.Tavi uint32:0 2>&1)"
check_same "started by the bus" \
  "Error org.freedesktop.DBus.Error.Spawn.ChildExited: Process org.morvel.Tavi exited with status 1" "$started"

check_same "tavi --version" "tavi $version" "$("$prefix/bin/tavi" --version)"
# With no display the tray application itself says so: the message proves
# that the installed tavi found and ran the installed tray.
bare="$(env -u DISPLAY -u WAYLAND_DISPLAY "$prefix/bin/tavi" 2>&1)"
check_same "bare tavi without a display" "tavi: 没有图形桌面（DISPLAY 未设置），托盘程序无法启动；命令行子命令仍可使用" "$bare"

finish
