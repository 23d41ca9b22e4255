#!/usr/bin/env bash
# Installs the Debian 12 packages Tavi needs to build, test and benchmark.
# Idempotent: packages already present are left alone and apt is not touched.
set -euo pipefail

packages=(
  build-essential cmake pkg-config
  libcurl4-openssl-dev nlohmann-json3-dev libssl-dev uuid-dev libdbus-1-dev
  qt6-base-dev qt6-svg-dev
  libxcb1-dev libxcb-xfixes0-dev libxcb-xinput-dev libxcb-xtest0-dev libxcb-xkb-dev libxcb-randr0-dev
  libxkbcommon-dev libxkbcommon-x11-dev
  # Screenshot translation: on-device text recognition, with the English and
  # Chinese models (other languages: apt install tesseract-ocr-<code>), and
  # the command line the benchmark compares against.
  libtesseract-dev libleptonica-dev tesseract-ocr tesseract-ocr-eng tesseract-ocr-chi-sim tesseract-ocr-chi-tra
  fonts-noto-cjk
  # Language flags are emoji: drawn in colour, not as letters, on a fresh machine.
  fonts-noto-color-emoji
  libgtest-dev libgmock-dev libcpp-httplib-dev
  openssl curl ca-certificates
  # The desktop tests: an X server, a window manager, a session bus and the
  # tools that play the user's other programs.
  xvfb openbox dbus-daemon dbus-bin libglib2.0-bin x11-xserver-utils x11-xkb-utils xclip
  # The Wayland session: weston with XWayland, its demo clients and the
  # Wayland clipboard's command line, to see what an X11 client reaches there.
  weston xwayland wl-clipboard
  # A real terminal emulator, to check that the copy fallback never interrupts one.
  xterm
  # Fuzzing and the Unicode data the grapheme test checks against.
  clang-14 libclang-rt-14-dev
  unicode-data
  # The installation checks: the desktop's validators, the Debian package
  # tools CPack uses, and GLib's launcher as a second reader of the
  # autostart entry.
  desktop-file-utils appstream dpkg-dev file
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "Installing: ${missing[*]}" >&2
if [ "$(id -u)" -eq 0 ]; then
  as_root=()
else
  as_root=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
