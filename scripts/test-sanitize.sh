#!/bin/bash
# Builds the library and every C++ test suite with AddressSanitizer (LeakSanitizer included)
# and UndefinedBehaviorSanitizer into a build directory of its own, then runs the C++ suites
# with ctest: every test whose command is a program built there. The Python tests (pytest
# driving uiremote-host) and the installed-package test are left out.
#
#   scripts/test-sanitize.sh            (make test-sanitize)
#
# Environment:
#   SANITIZE_BUILD_DIR  build directory (default build-sanitize); re-runs reuse it
#   JOBS                parallel compile and test jobs (default 2)
#   SANITIZE_CXX        C++ compiler (default g++)
#   CTEST_ARGS          extra ctest arguments, e.g. "-R tst_wire"
#
# Every C++ suite registered with uirc_add_test runs here, tst_faults_two, tst_method_sweep and
# tst_nesting included.
#
# Qt's own leaks are suppressed in tests/sanitize/lsan.supp (each entry says why); nothing of
# this project may be suppressed there. Any report fails the test that produced it.
set -euo pipefail

cd "$(dirname "$0")/.."
SOURCE_DIR=$PWD
BUILD_DIR=${SANITIZE_BUILD_DIR:-build-sanitize}
JOBS=${JOBS:-2}
CXX_COMPILER=${SANITIZE_CXX:-g++}
SUPP_DIR=$SOURCE_DIR/tests/sanitize

start=$(date +%s)
elapsed() { echo $(($(date +%s) - start)); }

# The shipped configuration (RelWithDebInfo: the plugin metadata says "release", which the plugin
# suite checks) at -O1, which keeps the run fast and the stack traces exact; _GLIBCXX_ASSERTIONS
# adds the standard library's bounds checks.
# gcc's "undefined" leaves out float-cast-overflow (a double outside int's range converted to
# int), which the pointer helpers can meet with a client's coordinates; it is added.
SAN_FLAGS="-fsanitize=address,undefined,float-cast-overflow -fno-omit-frame-pointer -fno-sanitize-recover=undefined,float-cast-overflow"
LINK_FLAGS="-fsanitize=address,undefined,float-cast-overflow"

echo "== test-sanitize: configuring $BUILD_DIR ($CXX_COMPILER, ASan + UBSan)"
cmake -S "$SOURCE_DIR" -B "$BUILD_DIR" \
  -DCMAKE_CXX_COMPILER="$CXX_COMPILER" \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-g -O1 -DNDEBUG" \
  -DCMAKE_CXX_FLAGS="$SAN_FLAGS -D_GLIBCXX_ASSERTIONS" \
  -DCMAKE_EXE_LINKER_FLAGS="$LINK_FLAGS" \
  -DCMAKE_SHARED_LINKER_FLAGS="$LINK_FLAGS" \
  -DCMAKE_MODULE_LINKER_FLAGS="$LINK_FLAGS" \
  -DUIRC_BUILD_TESTS=ON \
  -DUIRC_BUILD_EXAMPLES=OFF \
  >"$BUILD_DIR.configure.log" 2>&1 || { cat "$BUILD_DIR.configure.log"; echo "test-sanitize: configure failed"; exit 1; }
mv -f "$BUILD_DIR.configure.log" "$BUILD_DIR/configure.log"

echo "== test-sanitize: building with -j$JOBS"
build_start=$(date +%s)
cmake --build "$BUILD_DIR" -j"$JOBS"
build_time=$(($(date +%s) - build_start))

# halt_on_error and -fno-sanitize-recover make the first report end the test with a failure.
# The trace façade sets itself up from a global constructor when the library is loaded, so the
# initialisation order is checked too.
export ASAN_OPTIONS="detect_leaks=1:halt_on_error=1:strict_init_order=1:check_initialization_order=1:suppressions=$SUPP_DIR/asan.supp"
export LSAN_OPTIONS="suppressions=$SUPP_DIR/lsan.supp:print_suppressions=0:report_objects=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1:suppressions=$SUPP_DIR/ubsan.supp"

# The C++ suites are the tests whose command is a program built here; the others (the Python
# end-to-end and robustness tests, which run uiremote-host under pytest, and the installed-package
# test, which runs cmake) are left out.
abs_build=$(cd "$BUILD_DIR" && pwd)
selection=$(cd "$BUILD_DIR" && ctest --show-only=json-v1 | /usr/bin/python3 -c '
import json, re, sys
build = sys.argv[1] + "/"
run, skipped = [], []
for test in json.load(sys.stdin)["tests"]:
    command = test.get("command") or [""]
    (run if command[0].startswith(build) else skipped).append(test["name"])
print("|".join(re.escape(name) for name in run))
print(" ".join(skipped) or "-")
' "$abs_build")
run_regex=$(echo "$selection" | sed -n 1p)
skipped=$(echo "$selection" | sed -n 2p)
if [ -z "$run_regex" ]; then
  echo "test-sanitize: no C++ test registered"
  exit 1
fi

echo "== test-sanitize: running the C++ suites (not run here: $skipped)"
test_start=$(date +%s)
status=0
# shellcheck disable=SC2086
(cd "$BUILD_DIR" && ctest --output-on-failure -j"$JOBS" -R "^($run_regex)\$" ${CTEST_ARGS:-}) \
  2>&1 | tee "$BUILD_DIR/ctest-sanitize.log" || status=$?
test_time=$(($(date +%s) - test_start))

# Which sanitizer reports the run produced (a report always fails its test, so this only
# helps to find them in the log).
log=$BUILD_DIR/Testing/Temporary/LastTest.log
reports=0
if [ -f "$log" ]; then
  reports=$(grep -c -E 'ERROR: (AddressSanitizer|LeakSanitizer)|runtime error:' "$log" || true)
fi
echo
echo "== test-sanitize summary"
echo "   build dir:         $BUILD_DIR (compiler $CXX_COMPILER, $SAN_FLAGS)"
echo "   build time:        ${build_time} s"
echo "   test time:         ${test_time} s"
echo "   sanitizer reports: $reports (full log: $log)"
grep -E '^[0-9]+% tests passed' "$BUILD_DIR/ctest-sanitize.log" | sed 's/^/   /' || true
echo "   wall time:         $(elapsed) s"
if [ "$status" -ne 0 ]; then
  echo "test-sanitize: FAILED"
  exit "$status"
fi
echo "test-sanitize: OK"
