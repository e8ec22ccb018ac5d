#!/usr/bin/env bash
# Installs what is missing, builds, and starts the client.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
bash scripts/build.sh
BUILD_DIR=${VELKOR_BUILD_DIR:-build}
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
  echo "No display found; starting the client on a virtual display (xvfb-run)." >&2
  exec xvfb-run -a -s "-screen 0 1600x1000x24" "$BUILD_DIR/app/velkor"
fi
exec "$BUILD_DIR/app/velkor"
