"""A program served with UIREMOTE_TOKEN: clients present the token first, through the Python
client (token=) and the command line (--token)."""

import os
import subprocess
import sys

import pytest

from conftest import CLIENT_DIR, program
from uiremote import Client
from uiremote.errors import UIRemoteConnectionError

TOKEN = "t0k3n-for-tests"


@pytest.fixture
def guarded(launch):
    return launch([program("UIREMOTE_INVENTORY")], ["--name-from-ids"], env={"UIREMOTE_TOKEN": TOKEN}, token=TOKEN)


def cli(port, *args, token=None):
    env = dict(os.environ, PYTHONPATH=str(CLIENT_DIR))
    env.pop("UIREMOTE_TOKEN", None)
    command = [sys.executable, "-m", "uiremote", "--port", str(port)]
    if token is not None:
        command += ["--token", token]
    return subprocess.run(command + list(args), env=env, capture_output=True, timeout=60)


def test_client_with_the_token_drives_the_program(guarded):
    assert guarded.client.click("addButton", window="window").result is True
    assert guarded.client.get_property("stock", "count").value == 1


def test_wrong_token_is_refused_and_nothing_runs(guarded):
    with pytest.raises(UIRemoteConnectionError, match="refused the token"):
        Client("127.0.0.1", guarded.port, timeout=10, token="guess").connect()
    assert guarded.client.get_property("stock", "count").value == 0


def test_control_without_the_token_closes_the_connection(guarded):
    with Client("127.0.0.1", guarded.port, timeout=10) as intruder:
        with pytest.raises(UIRemoteConnectionError, match="closed the connection"):
            intruder.click("addButton", window="window")
    assert guarded.client.get_property("stock", "count").value == 0


def test_command_line_takes_the_token(guarded):
    done = cli(guarded.port, "getpro", "countLabel", "text", token=TOKEN)
    assert done.returncode == 0, done.stderr
    assert b"0 of 5" in done.stdout
    refused = cli(guarded.port, "getpro", "countLabel", "text", token="guess")
    assert refused.returncode == 2
