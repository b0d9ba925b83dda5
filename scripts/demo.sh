#!/bin/sh
# Starts the embed example headless on port 34541, drives it with the demo client, stops it.
set -e
BUILD_DIR=${1:-build}
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen} QT_QUICK_BACKEND=${QT_QUICK_BACKEND:-software}
"$BUILD_DIR/bin/embed-example" 34541 &
app=$!
trap 'kill $app 2>/dev/null || true' EXIT
/usr/bin/python3 examples/embed/demo_client.py 34541
