#!/usr/bin/env bash
# Builds the Debian package from the build and checks it as apt and dpkg will
# see it: its name, the dependencies dpkg-shlibdeps found and those it cannot,
# every file under /usr, the bus service naming /usr/bin/tavi, stripped
# binaries, and an unpacked copy whose bare `tavi` reaches its tray.
#   check-deb-package.sh BUILD_DIR VERSION
set -uo pipefail
build="$1"
version="$2"
here="$(dirname "$0")"
source "$here/checks.sh"

work="$(mktemp -d /tmp/tavi-deb-XXXXXX)"
trap 'rm -rf "$work"' EXIT
(cd "$build" && cpack -G DEB -B "$work/out") >"$work/cpack.log" 2>&1 || { cat "$work/cpack.log"; exit 1; }

deb="$work/out/tavi_${version}_$(dpkg --print-architecture).deb"
check "package file $(basename "$deb")" test -f "$deb"

field() { dpkg-deb --field "$deb" "$1"; }
check_same "Package" "tavi" "$(field Package)"
check_same "Version" "$version" "$(field Version)"
# The package names of a relationship field, one a line, versions left off.
names() { field "$1" | tr ',' '\n' | sed 's/^ *//; s/ .*//'; }
depends=$'\n'"$(names Depends)"$'\n'
# Found by dpkg-shlibdeps from what the binaries link against, and what no
# linker sees.
for package in libqt6widgets6 libqt6gui6 libqt6svg6 libqt6core6 libcurl4 libssl3 libuuid1 libxcb1 \
  libxkbcommon-x11-0 libtesseract5 ca-certificates; do
  check_contains "Depends on $package" $'\n'"$package"$'\n' "$depends"
done
check_same "Recommends" "$(printf 'fonts-noto-cjk\ntesseract-ocr-eng\ntesseract-ocr-chi-sim\ntesseract-ocr-chi-tra')" \
  "$(names Recommends)"
check_contains "dpkg-deb --info" "Depends: " "$(dpkg-deb --info "$deb")"

dpkg-deb --extract "$deb" "$work/root"
check_same "packaged files" "$(expected_files | sed 's|^|usr/|')" \
  "$(cd "$work/root" && find . -type f -printf '%P\n' | LC_ALL=C sort)"
check_same "packaged D-Bus service file" "$(printf '[D-BUS Service]\nName=org.morvel.Tavi\nExec=/usr/bin/tavi')" \
  "$(cat "$work/root/usr/share/dbus-1/services/org.morvel.Tavi.service")"
for program in usr/bin/tavi usr/libexec/tavi/tavi-tray; do
  check_contains "$program stripped" ", stripped" "$(file "$work/root/$program")"
done
check_same "unpacked bare tavi without a display" \
  "tavi: 没有图形桌面（DISPLAY 未设置），托盘程序无法启动；命令行子命令仍可使用" \
  "$(env -u DISPLAY -u WAYLAND_DISPLAY "$work/root/usr/bin/tavi" 2>&1)"

finish
