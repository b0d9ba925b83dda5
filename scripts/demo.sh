#!/bin/sh
# Starts the demo application headless on port 34541, drives all 20 control types with the demo
# script, then stops the application, which saves its final scene to <build>/demo.png. Then runs
# the inventory example, which does not link the library, through uiremote-launch and drives it.
set -e
BUILD_DIR=${1:-build}
PORT=${DEMO_PORT:-34541}
OUT=$(mktemp)
# The application's trace (failures and route snapshots) goes through the project's log library.
LD_LIBRARY_PATH="$BUILD_DIR/lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}" \
UIREMOTE_LOG_SEVERITY=3 UIREMOTE_LOG_FILE="$BUILD_DIR/demo-trace.log" \
  "$BUILD_DIR/bin/demo-app" --port "$PORT" --screenshot "$BUILD_DIR/demo.png" >"$OUT" 2>&1 &
app=$!
trap 'kill $app 2>/dev/null || true; rm -f "$OUT"' EXIT
rm -f "$BUILD_DIR/demo-trace.log"
# Waits (bounded) until process $1 has written "$2" into $OUT.
wait_for_line() {
  i=0
  until grep -q "$2" "$OUT"; do
    i=$((i + 1))
    if [ $i -gt 300 ] || ! kill -0 "$1" 2>/dev/null; then cat "$OUT"; echo "$3 did not start"; exit 1; fi
    sleep 0.1
  done
}
wait_for_line $app "listening on" demo-app
status=0
/usr/bin/python3 examples/demo/demo.py "$PORT" || status=$?
# Extension mode: the live tree and a screenshot, both taken over the wire.
echo
echo "the live tree over the wire (two levels: label [type] path):"
PYTHONPATH=clients/python /usr/bin/python3 - "$PORT" "$BUILD_DIR/demo-wire.png" <<'PY' || status=1
import sys
from uiremote import Client
with Client(port=int(sys.argv[1])) as app:
    def show(node, depth=0):
        print("  " * depth + "%s [%s] %s" % (node["label"], node["type"], node["path"] or "-"))
        for child in node["children"]:
            show(child, depth + 1)
    show(app.tree(depth=2))
    print("screenshot over the wire: %s" % app.save_screenshot(sys.argv[2]))
PY
kill -TERM $app
wait $app || true
echo
echo "trace of the run (route snapshots and failures): $BUILD_DIR/demo-trace.log, last lines:"
tail -n 4 "$BUILD_DIR/demo-trace.log" || true
if [ -s "$BUILD_DIR/demo.png" ]; then echo "screenshot of the final scene: $BUILD_DIR/demo.png"; else echo "no screenshot"; status=1; fi

# An unmodified program: the launcher preloads the probe, which serves the program's scene.
LAUNCH_PORT=$((PORT + 1))
echo
echo "uiremote-launch --port $LAUNCH_PORT --name-from-ids -- $BUILD_DIR/bin/example-inventory"
QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen} QT_QUICK_BACKEND=${QT_QUICK_BACKEND:-software} \
  "$BUILD_DIR/bin/uiremote-launch" --port "$LAUNCH_PORT" --name-from-ids -- "$BUILD_DIR/bin/example-inventory" >"$OUT" 2>&1 &
launched=$!
trap 'kill $app $launched 2>/dev/null || true; rm -f "$OUT"' EXIT
wait_for_line $launched "uiremote: listening on" example-inventory
grep "uiremote:" "$OUT"
/usr/bin/python3 examples/inventory/drive.py "$LAUNCH_PORT" || status=$?
kill -TERM $launched
wait $launched 2>/dev/null || true  # its end by SIGTERM is expected
exit $status
