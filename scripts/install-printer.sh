#!/usr/bin/env bash
# Adds the "Velkor" print queue (as root): any program can then fax a document by printing it
# to "Velkor"; the document opens in the printing user's Velkor editor.
#   -o phone=NUMBER[,NUMBER...] on the print command fills in the recipients ("name<number>" too).
set -euo pipefail
if [ "$(id -u)" -ne 0 ]; then
  echo "Run this script as root." >&2
  exit 1
fi
command -v lpadmin >/dev/null 2>&1 || {
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq && apt-get install -y -qq cups
}
ppd=""
for dir in /usr/share/velkor /usr/local/share/velkor "$(dirname "$0")/../backend"; do
  [ -f "$dir/velkor.ppd" ] && { ppd="$dir/velkor.ppd"; break; }
done
backend=""
for dir in /usr/lib/cups/backend /usr/local/lib/cups/backend; do
  [ -x "$dir/velkor" ] && { backend="$dir/velkor"; break; }
done
if [ -z "$ppd" ] || [ -z "$backend" ]; then
  echo "Velkor is not installed (no backend or PPD found): install it first (cmake --install build, or the package)." >&2
  exit 1
fi
# CUPS looks for backends in its own folder only.
[ "$backend" = /usr/lib/cups/backend/velkor ] || install -m 0700 "$backend" /usr/lib/cups/backend/velkor
chmod 0700 /usr/lib/cups/backend/velkor
systemctl start cups 2>/dev/null || service cups start 2>/dev/null || true
lpadmin -p Velkor -E -v velkor:/ -P "$ppd" -D "Velkor fax" -L "$(hostname)" -o printer-error-policy=retry-job
echo "The print queue \"Velkor\" is ready: lp -d Velkor -o phone=NUMBER document.pdf"
