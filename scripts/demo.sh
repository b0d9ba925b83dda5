#!/bin/sh
# Starts the demo application headless on port 34541, drives all 20 control types with the demo
# script, then stops the application, which saves its final scene to <build>/demo.png.
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
# Wait (bounded) for the application to listen.
i=0
until grep -q "listening on" "$OUT"; do
  i=$((i + 1))
  if [ $i -gt 200 ] || ! kill -0 $app 2>/dev/null; then cat "$OUT"; echo "demo-app did not start"; exit 1; fi
  sleep 0.1
done
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
exit $status
