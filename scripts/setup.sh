#!/usr/bin/env bash
# Installs the Debian 12 packages Tavi needs to build, test and benchmark.
# Idempotent: packages already present are left alone and apt is not touched.
set -euo pipefail

packages=(
  build-essential cmake pkg-config
  libcurl4-openssl-dev nlohmann-json3-dev libssl-dev uuid-dev
  qt6-base-dev
  libgtest-dev libgmock-dev libcpp-httplib-dev
  openssl curl ca-certificates
  clang-14 libclang-rt-14-dev
  unicode-data
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
