#!/bin/bash
# Builds the libFuzzer targets of tests/fuzz with clang (coverage, AddressSanitizer with
# LeakSanitizer, UndefinedBehaviorSanitizer) into a build directory of its own and runs each
# of them for a bounded time. Any finding (crash, sanitizer report, leak, failed check, input
# slower than the time-out) fails the script and leaves the input under <build>/findings/.
#
#   scripts/fuzz.sh short    (make fuzz-short)  30 s per target, for CI
#   scripts/fuzz.sh long     (make fuzz)        600 s per target
#   scripts/fuzz.sh replay <target> <file>...   runs inputs once, with the same settings
#
# Environment:
#   FUZZ_SECONDS     seconds per target, overrides the mode's default
#   FUZZ_TARGETS     targets to run (default "fuzz_wire fuzz_extract")
#   FUZZ_BUILD_DIR   build directory (default build-fuzz); re-runs reuse it
#   JOBS             parallel compile jobs (default 2)
#
# The seed corpus in tests/fuzz/corpus/<target>/ is only read. New inputs are kept in
# <build>/corpus/<target>/, so later runs on the same machine start from everything found so far.
set -euo pipefail

cd "$(dirname "$0")/.."
SOURCE_DIR=$PWD
MODE=${1:-short}
case "$MODE" in
  short) SECONDS_PER_TARGET=${FUZZ_SECONDS:-30} ;;
  long) SECONDS_PER_TARGET=${FUZZ_SECONDS:-600} ;;
  replay) [ $# -ge 3 ] || { echo "usage: $0 replay <target> <file>..." >&2; exit 2; } ;;
  *) echo "usage: $0 short|long|replay <target> <file>..." >&2; exit 2 ;;
esac
BUILD_DIR=${FUZZ_BUILD_DIR:-build-fuzz}
JOBS=${JOBS:-2}
TARGETS=${FUZZ_TARGETS:-fuzz_wire fuzz_extract}
SUPP_DIR=$SOURCE_DIR/tests/sanitize

export ASAN_OPTIONS="detect_leaks=1:halt_on_error=1:suppressions=$SUPP_DIR/asan.supp"
export LSAN_OPTIONS="suppressions=$SUPP_DIR/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1:suppressions=$SUPP_DIR/ubsan.supp"

if [ "$MODE" = replay ]; then
  target=$2
  shift 2
  exec "$BUILD_DIR/bin/$target" "$@"
fi

start=$(date +%s)

echo "== fuzz ($MODE, ${SECONDS_PER_TARGET} s per target): configuring $BUILD_DIR with clang"
mkdir -p "$BUILD_DIR"
CC=clang CXX=clang++ cmake -S "$SOURCE_DIR/tests/fuzz" -B "$BUILD_DIR" \
  -DCMAKE_CXX_COMPILER=clang++ >"$BUILD_DIR/configure.log" 2>&1 \
  || { cat "$BUILD_DIR/configure.log"; echo "fuzz: configure failed"; exit 1; }

echo "== fuzz: building $TARGETS with -j$JOBS"
build_start=$(date +%s)
# shellcheck disable=SC2086
cmake --build "$BUILD_DIR" -j"$JOBS" --target $TARGETS
build_time=$(($(date +%s) - build_start))

status=0
summary=""
for target in $TARGETS; do
  corpus=$BUILD_DIR/corpus/$target
  findings=$BUILD_DIR/findings/$target
  log=$BUILD_DIR/$target.log
  mkdir -p "$corpus" "$findings"
  rm -f "$findings"/*
  echo "== fuzz: $target for ${SECONDS_PER_TARGET} s (log: $log)"
  target_start=$(date +%s)
  # -timeout: an input running for 10 s is a hang (the harness bounds its own waits far lower).
  # -max_len: fuzz_wire rejects longer inputs; one write of that size arrives as one read.
  # -rss_limit_mb: the QML scene under ASan needs a few hundred MB; far more is a leak.
  # fuzz_wire keeps a QML engine alive between inputs; the engine holds objects through its
  # garbage-collected heap, which LeakSanitizer does not scan, so a leak check between inputs
  # sees them as lost. That target checks for leaks once, at exit, after it has torn the whole
  # harness down (see Teardown() in fuzz_wire.cpp); fuzz_extract checks after every input.
  leak_flag=-detect_leaks=1
  [ "$target" = fuzz_wire ] && leak_flag=-detect_leaks=0
  target_status=0
  "$BUILD_DIR/bin/$target" "$leak_flag" \
    -max_total_time="$SECONDS_PER_TARGET" -timeout=10 -max_len=4096 -rss_limit_mb=3072 \
    -dict="$SOURCE_DIR/tests/fuzz/fuzz.dict" -artifact_prefix="$findings/" -print_final_stats=1 \
    "$corpus" "$SOURCE_DIR/tests/fuzz/corpus/$target" >"$log" 2>&1 || target_status=$?
  target_time=$(($(date +%s) - target_start))
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1 || true)
  cov=$( (grep -o 'cov: [0-9]*' "$log" || true) | tail -n 1 | cut -d' ' -f2)
  units=$(find "$corpus" -type f | wc -l)
  found=$(find "$findings" -type f | wc -l)
  if [ "$target_status" -ne 0 ] || [ "$found" -ne 0 ]; then
    status=1
    echo "   FINDING in $target (exit $target_status), last lines of $log:"
    (grep -E 'ERROR:|runtime error|fuzz_(wire|extract):|SUMMARY|ALARM|Test unit written' "$log" || true) \
      | head -n 20 | sed 's/^/   | /'
    echo "   first frames in this project:"
    (grep -E "in .* $SOURCE_DIR/(src|tests|tools)/" "$log" || true) | head -n 4 | sed 's/^ */   | /'
    for f in "$findings"/*; do
      [ -e "$f" ] && echo "   replay: scripts/fuzz.sh replay $target $f"
    done
    line="$target: FINDING after ${target_time} s (${runs:-?} inputs, coverage ${cov:-?}), see $findings/"
  else
    line="$target: ok, ${runs:-?} inputs in ${target_time} s, coverage ${cov:-?}, corpus ${units} files"
  fi
  echo "   $line"
  summary="$summary   $line"$'\n'
done

# The long run also sweeps every invokable method of the common QML types with the long argument
# lists (tests/tst_method_sweep.cpp), built with the sanitizers in the test-sanitize build dir.
if [ "$MODE" = long ]; then
  SWEEP_DIR=${SANITIZE_BUILD_DIR:-build-sanitize}
  if [ -x "$SWEEP_DIR/bin/tst_method_sweep" ]; then
    echo "== fuzz: method sweep (long) with $SWEEP_DIR/bin/tst_method_sweep"
    sweep_status=0
    QT_QPA_PLATFORM=offscreen QT_QUICK_BACKEND=software UIRC_SWEEP=long \
      timeout 1800 "$SWEEP_DIR/bin/tst_method_sweep" >"$BUILD_DIR/method_sweep.log" 2>&1 || sweep_status=$?
    if [ "$sweep_status" -ne 0 ]; then
      status=1
      summary="$summary   method sweep: FAILED (exit $sweep_status), see $BUILD_DIR/method_sweep.log"$'\n'
    else
      summary="$summary   method sweep: ok"$'\n'
    fi
  else
    summary="$summary   method sweep: not run (make test-sanitize builds $SWEEP_DIR/bin/tst_method_sweep)"$'\n'
  fi
fi

echo
echo "== fuzz summary ($MODE)"
echo "   build time: ${build_time} s"
printf '%s' "$summary"
echo "   wall time:  $(($(date +%s) - start)) s"
if [ "$status" -ne 0 ]; then
  echo "fuzz: FAILED"
  exit 1
fi
echo "fuzz: OK"
