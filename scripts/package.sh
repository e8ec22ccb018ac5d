#!/usr/bin/env bash
# Builds the Debian package velkor_<version>_<arch>.deb into the build folder, with CPack;
# its library dependencies come from dpkg-shlibdeps. Install it with apt-get install ./velkor_*.deb
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${VELKOR_BUILD_DIR:-build}
bash scripts/build.sh
cd "$BUILD_DIR"
cpack -G DEB
ls -1 "$PWD"/velkor_*.deb
