#!/usr/bin/env bash
# Configures and builds Velkor into build/ (or $VELKOR_BUILD_DIR).
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${VELKOR_BUILD_DIR:-build}
JOBS=${VELKOR_JOBS:-$(nproc)}
generator=()
command -v ninja >/dev/null 2>&1 && generator=(-G Ninja)
if [ ! -f "$BUILD_DIR/CMakeCache.txt" ]; then
  cmake -S . -B "$BUILD_DIR" "${generator[@]}" -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@"
fi
cmake --build "$BUILD_DIR" -j "$JOBS"
