#!/usr/bin/env bash
# Installs what is missing, builds, and runs the whole test suite through CTest.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
bash scripts/build.sh
BUILD_DIR=${VELKOR_BUILD_DIR:-build}
export QT_QPA_PLATFORM=offscreen
cd "$BUILD_DIR"
ctest --output-on-failure -j "${VELKOR_JOBS:-$(nproc)}"
