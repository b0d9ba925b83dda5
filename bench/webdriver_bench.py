#!/usr/bin/env python3
"""Cost of a WebDriver find-and-click against the same control on our own wire.

    webdriver_bench.py --launcher build/bin/uiremote-launch --gallery build/bin/qt-gallery [--rounds N]

Starts ``uiremote webdriver`` and a gallery session through it, and times on the gallery's title
label (found by css ``#titleLabel``):

- WebDriver: Find Element and Element Click over HTTP, with the window settling after the click
  off ("waitIdle": false) and on (the default);
- wire: a ``click`` by a known path through the Python client (with the actionability check),
  and a ``find`` then ``click``, against a gallery served by the launcher.

Prints medians in milliseconds.  Plain HTTP: no WebDriver client library needed.
"""

import argparse
import json
import os
import re
import statistics
import subprocess
import sys
import time
import urllib.request
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "clients" / "python"))

from uiremote import Client  # noqa: E402


def call(url, method="GET", body=None):
    data = None if body is None else json.dumps(body).encode()
    request = urllib.request.Request(url, data=data, method=method, headers={"Content-Type": "application/json"})
    with urllib.request.urlopen(request, timeout=60) as reply:
        return json.load(reply)["value"]


def median_ms(samples):
    return statistics.median(samples) * 1000.0


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--launcher", required=True)
    parser.add_argument("--gallery", required=True)
    parser.add_argument("--rounds", type=int, default=50)
    args = parser.parse_args()
    env = dict(os.environ, PYTHONPATH=str(Path(__file__).resolve().parents[1] / "clients" / "python"),
               QT_QPA_PLATFORM="offscreen", QT_QUICK_CONTROLS_STYLE="Default")
    server = subprocess.Popen([sys.executable, "-m", "uiremote", "webdriver", "--port", "0", "--launcher", args.launcher],
                              stderr=subprocess.PIPE, env=env, text=True)
    try:
        url = re.search(r"listening on (http://\S+)", server.stderr.readline()).group(1)
        results = {}
        for settle in (False, True):
            options = {"app": args.gallery, "waitIdle": settle}
            session = call(url + "/session", "POST", {"capabilities": {"alwaysMatch": {"uiremote:options": options}}})
            base = "%s/session/%s" % (url, session["sessionId"])
            wd, wire = [], []
            target = {"using": "css selector", "value": "#titleLabel"}
            for _ in range(args.rounds):
                start = time.perf_counter()
                element = call(base + "/element", "POST", target)
                call(base + "/element/%s/click" % next(iter(element.values())), "POST", {})
                wd.append(time.perf_counter() - start)
            results["webdriver find+click%s" % (" + settle" if settle else "")] = median_ms(wd)
            call(base, "DELETE")
        # Our own wire against a gallery of its own (the same control, the same path).
        app = subprocess.Popen([args.launcher, "--port", "34999", "--name-from-ids", "--", args.gallery],
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT, env=dict(env, QT_QUICK_BACKEND="software"),
                               text=True)
        try:
            for line in app.stdout:
                if "listening on" in line:
                    break
            client = Client(port=34999, window="window")
            samples = []
            for _ in range(args.rounds):
                start = time.perf_counter()
                assert client.click("titleLabel").result
                samples.append(time.perf_counter() - start)
            results["wire click (path known)"] = median_ms(samples)
            samples = []
            for _ in range(args.rounds):
                start = time.perf_counter()
                client.find("objectName", "titleLabel")
                assert client.click("titleLabel").result
                samples.append(time.perf_counter() - start)
            results["wire find+click"] = median_ms(samples)
            client.close()
        finally:
            app.terminate()
            app.wait(timeout=20)
        for name, value in results.items():
            print("%-32s %8.2f ms (median of %d)" % (name, value, args.rounds))
    finally:
        server.terminate()
        server.wait(timeout=30)


if __name__ == "__main__":
    main()
