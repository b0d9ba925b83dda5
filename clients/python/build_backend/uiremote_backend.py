"""A minimal PEP 517 build backend (standard library only): a wheel of the ``uiremote``
package with its console script, and an sdist of this directory."""

import base64
import hashlib
import io
import os
import tarfile
import zipfile

NAME = "uiremote"
VERSION = "0.1.0"
HERE = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
DIST_INFO = "%s-%s.dist-info" % (NAME, VERSION)

METADATA = """Metadata-Version: 2.1
Name: {name}
Version: {version}
Summary: Client, command line and pytest plugin of the UI remote control for Qt Quick applications
Requires-Python: >=3.7
""".format(name=NAME, version=VERSION)

WHEEL = """Wheel-Version: 1.0
Generator: uiremote_backend
Root-Is-Purelib: true
Tag: py3-none-any
"""

ENTRY_POINTS = """[console_scripts]
uiremote = uiremote.cli:main
"""


def _package_files():
    """The package's modules, subpackages included."""
    for folder, dirs, files in os.walk(os.path.join(HERE, NAME)):
        dirs[:] = sorted(d for d in dirs if d != "__pycache__")
        for name in sorted(files):
            if name.endswith(".py"):
                source = os.path.join(folder, name)
                yield os.path.relpath(source, HERE).replace(os.sep, "/"), source


def _record_line(path, data):
    digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
    return "%s,sha256=%s,%d" % (path, digest, len(data))


def get_requires_for_build_wheel(config_settings=None):
    return []


def get_requires_for_build_sdist(config_settings=None):
    return []


def prepare_metadata_for_build_wheel(metadata_directory, config_settings=None):
    target = os.path.join(metadata_directory, DIST_INFO)
    os.makedirs(target, exist_ok=True)
    for name, text in (("METADATA", METADATA), ("WHEEL", WHEEL), ("entry_points.txt", ENTRY_POINTS)):
        with open(os.path.join(target, name), "w") as out:
            out.write(text)
    return DIST_INFO


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    wheel_name = "%s-%s-py3-none-any.whl" % (NAME, VERSION)
    records = []
    with zipfile.ZipFile(os.path.join(wheel_directory, wheel_name), "w", zipfile.ZIP_DEFLATED) as wheel:
        def add(path, data):
            wheel.writestr(path, data)
            records.append(_record_line(path, data))

        for path, source in _package_files():
            with open(source, "rb") as handle:
                add(path, handle.read())
        for name, text in (("METADATA", METADATA), ("WHEEL", WHEEL), ("entry_points.txt", ENTRY_POINTS)):
            add("%s/%s" % (DIST_INFO, name), text.encode())
        records.append("%s/RECORD,," % DIST_INFO)
        wheel.writestr("%s/RECORD" % DIST_INFO, "\n".join(records) + "\n")
    return wheel_name


def build_sdist(sdist_directory, config_settings=None):
    base = "%s-%s" % (NAME, VERSION)
    sdist_name = base + ".tar.gz"
    with tarfile.open(os.path.join(sdist_directory, sdist_name), "w:gz") as sdist:
        for name in ("pyproject.toml", "README.md", "build_backend/uiremote_backend.py"):
            sdist.add(os.path.join(HERE, name), "%s/%s" % (base, name))
        for path, source in _package_files():
            sdist.add(source, "%s/%s" % (base, path))
        info = tarfile.TarInfo("%s/PKG-INFO" % base)
        data = METADATA.encode()
        info.size = len(data)
        sdist.addfile(info, io.BytesIO(data))
    return sdist_name
