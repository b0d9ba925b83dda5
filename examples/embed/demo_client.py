#!/usr/bin/python3
"""Sends a few control messages to the embed example and prints each reply."""
import json
import socket
import sys
import time

PORT = int(sys.argv[1]) if len(sys.argv) > 1 else 34541


def connect(deadline=20.0):
    end = time.monotonic() + deadline
    while True:
        try:
            return socket.create_connection(("127.0.0.1", PORT), timeout=5)
        except OSError:
            if time.monotonic() > end:
                raise
            time.sleep(0.1)  # the application is still starting


def request(sock, message):
    sock.sendall(json.dumps(message).encode())
    decoder, data = json.JSONDecoder(), b""
    while True:
        chunk = sock.recv(65536)
        if not chunk:
            raise ConnectionError("server closed the connection")
        data += chunk
        try:
            reply, _ = decoder.raw_decode(data.decode().lstrip())
            return reply
        except ValueError:
            continue


MESSAGES = [
    {"getpro": {"objname": "main.okButton", "property": "label"}},
    {"click": {"objname": "okButton", "parobjname": "main", "winobjname": "mainWindow"}},
    {"getpro": {"objname": "main.okButton", "property": "clicks"}},
    {"setpro": {"objname": "main.okButton", "property": "label", "propval": "Done"}},
    {"invokeret": {"objname": "main.okButton", "method": "greet", "mthargs": ["demo"]}},
    {"getwinname": {"objname": "main.okButton"}},
    {"getpro": {"objname": "main.noSuchButton", "property": "label"}},
    {"Click": {"objname": "main.okButton"}},
]

EXPECTED = [True, True, True, True, True, True, False, False]

with connect() as sock:
    results = []
    for message in MESSAGES:
        reply = request(sock, message)
        results.append(reply["result"])
        print("request:", json.dumps(message))
        print("reply:  ", json.dumps(reply))
    if results != EXPECTED:
        sys.exit("unexpected results: %s" % results)
    print("all %d replies as expected" % len(results))
