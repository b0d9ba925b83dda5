"""`pip install clients/python` into a virtual environment, with no package index."""

import subprocess
import sys
from pathlib import Path

from conftest import CLIENT_DIR


def test_pip_install_into_a_venv_gives_package_and_command(tmp_path):
    venv = tmp_path / "venv"
    subprocess.run([sys.executable, "-m", "venv", str(venv)], check=True, timeout=300)
    pip = [str(venv / "bin" / "python"), "-m", "pip", "install", "--no-index", "--quiet", str(CLIENT_DIR)]
    done = subprocess.run(pip, capture_output=True, text=True, timeout=300)
    assert done.returncode == 0, done.stderr
    # Imported from the environment, not from the source tree.
    where = subprocess.run([str(venv / "bin" / "python"), "-c", "import uiremote; print(uiremote.__file__)"],
                           capture_output=True, text=True, cwd=str(tmp_path), timeout=60, env={})
    assert Path(where.stdout.strip()).is_relative_to(venv), where
    # The subpackages too: the agent tool server, and the pytest plugin (pytest is not installed).
    done = subprocess.run([str(venv / "bin" / "python"), "-c", "import uiremote.mcp.server"],
                          capture_output=True, text=True, cwd=str(tmp_path), timeout=60)
    assert done.returncode == 0, done.stderr
    assert (Path(where.stdout.strip()).parent / "pytest" / "plugin.py").is_file()
    done = subprocess.run([str(venv / "bin" / "uiremote"), "--help"], capture_output=True, text=True, timeout=60)
    assert done.returncode == 0 and "screenshot" in done.stdout
