#!/usr/bin/env bash
# Installs the build into a temporary prefix and checks that every file a desktop program
# needs is in its place and valid; with --package also builds the Debian package and checks
# its control data. Run by CTest (InstallLayout, DebianPackage).
set -euo pipefail
build=$1; shift
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null
missing=0
for f in bin/velkor bin/devicesim lib/cups/backend/velkor share/velkor/velkor.ppd \
         share/applications/velkor.desktop share/metainfo/org.velkor.Velkor.metainfo.xml \
         share/icons/hicolor/scalable/apps/velkor.svg share/icons/hicolor/48x48/apps/velkor.png \
         share/icons/hicolor/256x256/apps/velkor.png; do
  [ -s "$prefix/$f" ] || { echo "missing: $f"; missing=1; }
done
[ "$(stat -c %a "$prefix/lib/cups/backend/velkor")" = 700 ] || { echo "the backend must be mode 0700"; missing=1; }
desktop-file-validate "$prefix/share/applications/velkor.desktop"
appstreamcli validate --no-net --explain "$prefix/share/metainfo/org.velkor.Velkor.metainfo.xml"
file -b --mime-type "$prefix/share/icons/hicolor/48x48/apps/velkor.png" | grep -qx image/png
python3 - "$prefix/share/icons/hicolor/48x48/apps/velkor.png" <<'PY'
import struct, sys
w, h = struct.unpack(">II", open(sys.argv[1], "rb").read()[16:24])
sys.exit(0 if (w, h) == (48, 48) else f"48 px icon is {w}x{h}")
PY
if [ "${1:-}" = --package ]; then
  (cd "$build" && cpack -G DEB >/dev/null)
  deb=$(ls -1t "$build"/velkor_*.deb | head -n 1)
  depends=$(dpkg-deb -f "$deb" Depends)
  echo "Depends: $depends"
  for lib in libqt5widgets5 libqt5sql5 libqt5network5 libtiff6 libpoppler-qt5 libopencv-imgproc libc6 libqt5sql5-sqlite; do
    echo "$depends" | grep "$lib" >/dev/null || { echo "the package does not depend on $lib"; missing=1; }
  done
  dpkg-deb -c "$deb" | grep './usr/lib/cups/backend/velkor' >/dev/null || { echo "the package lacks the backend"; missing=1; }
fi
exit $missing
