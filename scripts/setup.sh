#!/usr/bin/env bash
# Installs the Debian packages that building, running and testing Orvex need, and nothing
# when they are all there already. Runs as root (or through sudo when it is available).
set -euo pipefail

packages=(
    cmake ninja-build g++ pkg-config
    qtbase5-dev qtbase5-dev-tools
    libxml2-dev libxml2-utils
    clang-format
    xvfb xauth xdotool imagemagick
    rsync git
    libaravis-dev libusb-1.0-0-dev aravis-tools
)

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "setup: need root to install: ${missing[*]}" >&2; exit 1; }
    sudo=sudo
fi
echo "setup: installing ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
