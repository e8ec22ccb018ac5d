#!/usr/bin/env bash
# A real print job through a private CUPS daemon: "lp -d Velkor -o phone=123 file.pdf" ends in
# an editor of the logged-in client with the recipient filled in. Run by CTest (PrintToFaxCups);
# exits 77 (skipped) with the reason where cupsd is missing or cannot start on this machine.
set -uo pipefail
build=$1
skip() { echo "SKIPPED: $*"; exit 77; }
for tool in cupsd lpadmin lp gs python3; do
  command -v "$tool" >/dev/null 2>&1 || [ -x "/usr/sbin/$tool" ] || skip "$tool is not installed"
done
[ "$(id -u)" -eq 0 ] || skip "the backend runs as root under cupsd, so the test must run as root"

D=$(mktemp -d /tmp/velkor-cups-XXXXXX)
chmod 0755 "$D" # the filters run as lp and must reach the spool and temporary folders
pids=()
cleanup() { for p in "${pids[@]}"; do kill "$p" 2>/dev/null; done; wait 2>/dev/null; rm -rf "$D"; }
trap cleanup EXIT
mkdir -p "$D"/{etc/ppd,lib/backend,spool,cache,state,tmp,log,run,homes/office/.config,homes/office/Documents/Velkor}
chmod 1777 "$D/tmp"
chmod 0700 "$D/run"
for x in filter daemon cgi-bin notifier monitor driver; do ln -s "/usr/lib/cups/$x" "$D/lib/$x"; done
install -m 0700 "$build/backend/velkor" "$D/lib/backend/velkor"
cat > "$D/etc/cupsd.conf" <<CONF
Listen $D/cups.sock
LogLevel info
WebInterface No
Browsing No
<Location />
  Order allow,deny
  Allow all
</Location>
CONF
cat > "$D/etc/cups-files.conf" <<CONF
ServerRoot $D/etc
ServerBin $D/lib
RequestRoot $D/spool
CacheDir $D/cache
StateDir $D/state
TempDir $D/tmp
Printcap $D/printcap
AccessLog $D/log/access_log
ErrorLog $D/log/error_log
PageLog $D/log/page_log
User lp
Group lp
SystemGroup root
SetEnv VELKOR_BACKEND_HOMES $D/homes
SetEnv VELKOR_BACKEND_SPOOL $D/spool-kept
SetEnv VELKOR_BACKEND_RUNTIME $D/run
CONF
/usr/sbin/cupsd -f -c "$D/etc/cupsd.conf" -s "$D/etc/cups-files.conf" >"$D/log/stdout" 2>&1 &
pids+=($!)
for _ in $(seq 50); do [ -S "$D/cups.sock" ] && break; sleep 0.2; done
[ -S "$D/cups.sock" ] || skip "cupsd did not start: $(tail -n 3 "$D/log/stdout" "$D/log/error_log" 2>/dev/null)"
export CUPS_SERVER=$D/cups.sock

# A client of user "office", logged in as local account "tester", listening for jobs.
home=$D/homes/office
python3 - "$home/Documents/Velkor/velkor.db" <<'PY'
import sqlite3, sys
db = sqlite3.connect(sys.argv[1])
db.execute("CREATE TABLE IF NOT EXISTS USERS (id INTEGER PRIMARY KEY AUTOINCREMENT, nickname VARCHAR(40) NOT NULL, "
           "password VARCHAR(40) NOT NULL, email VARCHAR(40) , phone VARCHAR(40) )")
db.execute("INSERT INTO USERS (nickname, password) VALUES ('tester', 'x')")
db.commit()
PY
printf '[General]\naccount=tester\nrememberPwd=true\nautoLogin=true\n' >"$home/Documents/Velkor/UserConfig.ini"
HOME=$home XDG_CONFIG_HOME=$home/.config XDG_RUNTIME_DIR=$D/run QT_QPA_PLATFORM=offscreen \
  "$build/app/velkor" >"$D/log/client" 2>&1 &
client=$!
pids+=($client)
for _ in $(seq 100); do ls "$D/run"/velkor-* >/dev/null 2>&1 && break; sleep 0.2; done
ls "$D/run"/velkor-* >/dev/null 2>&1 || { echo "the client did not start"; cat "$D/log/client"; exit 1; }

gs -q -sDEVICE=pdfwrite -o "$D/letter.pdf" -c "/Helvetica findfont 24 scalefont setfont 72 720 moveto (Velkor print to fax) show showpage"
lpadmin -p Velkor -E -v velkor:/ -P "$(dirname "$0")/../backend/velkor.ppd" 2>/dev/null || { echo "lpadmin failed"; exit 1; }
lp -U office -d Velkor -o phone=123 "$D/letter.pdf" || { echo "lp failed"; exit 1; }

spool=$home/Documents/Velkor/spool
for _ in $(seq 150); do grep -qs 'opened=true' "$spool"/*.job && break; sleep 0.2; done
if ! grep -qs 'opened=true' "$spool"/*.job; then
  echo "the job did not reach an editor"; ls -la "$spool" 2>&1; tail -n 20 "$D/log/error_log"; cat "$D/log/client"; exit 1
fi
grep -q 'recipients="\?123;' "$spool"/*.job || { echo "recipients lost:"; cat "$spool"/*.job; exit 1; }
head -c 4 "$spool"/*.pdf | grep -q '%PDF' || { echo "the spooled document is not PDF"; exit 1; }
sleep 1
kill -0 "$client" 2>/dev/null || { echo "the client died with the job open"; cat "$D/log/client"; exit 1; }
echo "lp -d Velkor -o phone=123 reached the client's editor"
