#!/usr/bin/env bash
# Installs the Debian 12 packages that building, running and testing Velkor need.
# Safe to run again: only what is missing is installed.
set -euo pipefail

PACKAGES=(
  build-essential cmake pkg-config ninja-build
  qtbase5-dev qttools5-dev qttools5-dev-tools libqt5sql5-sqlite libqt5svg5-dev
  libopencv-core-dev libopencv-imgproc-dev
  libtiff-dev libpoppler-qt5-dev libssl-dev
  python3 fonts-noto-cjk qttranslations5-l10n xvfb xauth ccache
  clang-14 libclang-rt-14-dev
  ghostscript time
  desktop-file-utils appstream dpkg-dev file cups cups-client cups-filters
)

missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done

if [ ${#missing[@]} -gt 0 ]; then
  if [ "$(id -u)" -ne 0 ]; then
    echo "Missing packages: ${missing[*]}" >&2
    echo "Run this script as root (or install them with apt-get)." >&2
    exit 1
  fi
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
