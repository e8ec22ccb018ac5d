#!/usr/bin/env bash
# Builds the fuzz targets of fuzz/ with clang (libFuzzer, AddressSanitizer, UBSan) and runs
# each for a bounded time.
#
#   scripts/fuzz.sh                     smoke run: SMOKE_SECONDS (20) per target, for CI
#   scripts/fuzz.sh --long 600          a longer run, seconds per target
#   scripts/fuzz.sh --long 600 tiff pdf only the named targets
#   --build-dir DIR                     build and corpora there (default: <repo>/build-fuzz)
#
# Seeds are written by fuzz_seeds from our own code; inputs that once broke a parser are kept
# in fuzz/regressions/<target>/ and always run first. Inputs that break a target now are kept
# in <build-dir>/crashes/. Exit status 1 when any target failed.
set -euo pipefail

ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
BUILD="$ROOT/build-fuzz"
SECONDS_PER_TARGET="${SMOKE_SECONDS:-20}"
ALL_TARGETS=(getvalue record ini contact_csv discovery tiff pdf)
TARGETS=()

while [ $# -gt 0 ]; do
  case "$1" in
    --smoke) shift ;;
    --long) SECONDS_PER_TARGET="$2"; shift 2 ;;
    --build-dir) BUILD="$2"; shift 2 ;;
    -h|--help) sed -n '2,12p' "$0"; exit 0 ;;
    -*) echo "unknown option $1" >&2; exit 2 ;;
    *) TARGETS+=("$1"); shift ;;
  esac
done
[ ${#TARGETS[@]} -gt 0 ] || TARGETS=("${ALL_TARGETS[@]}")

CXX_CLANG="$(command -v clang++-14 || command -v clang++ || true)"
if [ -z "$CXX_CLANG" ]; then
  echo "fuzz.sh: clang++ not found (scripts/install-deps.sh installs clang-14)" >&2
  exit 2
fi

if [ ! -f "$BUILD/build.ninja" ]; then
  cmake -S "$ROOT/fuzz" -B "$BUILD" -G Ninja -DCMAKE_CXX_COMPILER="$CXX_CLANG" >/dev/null
fi
cmake --build "$BUILD" -j2 >/dev/null

rm -rf "$BUILD/seeds"
"$BUILD/fuzz_seeds" "$BUILD/seeds"
mkdir -p "$BUILD/crashes"

export ASAN_OPTIONS="abort_on_error=1:detect_leaks=1:allocator_may_return_null=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export LSAN_OPTIONS="suppressions=$ROOT/fuzz/lsan.supp"
export QT_LOGGING_RULES="*=false"

failed=0
printf '%-12s %10s %8s  %s\n' target runs seconds result
for target in "${TARGETS[@]}"; do
  corpus="$BUILD/corpus/$target"
  mkdir -p "$corpus"
  dirs=("$corpus" "$BUILD/seeds/$target")
  [ -d "$ROOT/fuzz/regressions/$target" ] && dirs+=("$ROOT/fuzz/regressions/$target")
  log="$BUILD/$target.log"
  start=$(date +%s)
  status=ok
  # -close_fd_mask=1: the parsers' own chatter on stdout stays out of the log.
  if ! "$BUILD/fuzz_$target" -max_total_time="$SECONDS_PER_TARGET" -timeout=10 -rss_limit_mb=2048 \
      -close_fd_mask=1 -print_final_stats=1 -artifact_prefix="$BUILD/crashes/$target-" \
      "${dirs[@]}" >"$log" 2>&1; then
    status="FAILED (see $log)"
    failed=1
  fi
  runs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$' || echo '?')
  printf '%-12s %10s %8s  %s\n' "$target" "$runs" "$(( $(date +%s) - start ))" "$status"
done
exit $failed
