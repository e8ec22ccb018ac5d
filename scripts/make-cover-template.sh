#!/usr/bin/env bash
# Rebuilds the cover template image and its JSON description under resources/.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
tmp="$(mktemp -d)"
trap 'rm -rf "$tmp"' EXIT
g++ -std=c++17 -fPIC -O1 "$root/scripts/make-cover-template.cpp" -o "$tmp/make-cover-template" \
  $(pkg-config --cflags --libs Qt5Gui)
"$tmp/make-cover-template" "$root/resources/icons/ic_faxcover_template.png" "$root/resources/assets/fax_cover.json"
