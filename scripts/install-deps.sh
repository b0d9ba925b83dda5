#!/bin/sh
# Installs the Debian packages the build and the tests need, when any is missing.
set -e
PACKAGES="build-essential cmake qtbase5-dev qtdeclarative5-dev qml-module-qtquick2 \
qml-module-qtquick-window2 qml-module-qtqml-models2 qml-module-qtquick-controls2 \
qml-module-qttest qtquickcontrols2-5-examples qml-module-qt-labs-settings qml-module-qtquick-layouts \
python3 python3-pytest python3-pytest-xdist clang libclang-rt-14-dev \
qt6-base-dev qt6-declarative-dev qml6-module-qtquick qml6-module-qtquick-window \
qml6-module-qtqml-models qml6-module-qtquick-controls qml6-module-qtquick-templates \
qml6-module-qtqml-workerscript qml6-module-qtquick-layouts qml6-module-qttest \
qtquickcontrols2-5-dev qtquickcontrols2-5-examples qml-module-qtquick-layouts qml-module-qt-labs-settings \
python3-pyqt5.qtquick python3-pyside2.qtquick python3-pyqt6.qtquick python3-lxml python3-selenium \
qtdeclarative5-examples"
missing=""
for p in $PACKAGES; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing="$missing $p"
done
# Node.js and npm run the MCP SDK client of tests/mcp; any node on PATH will do.
if ! command -v node >/dev/null 2>&1 || ! command -v npm >/dev/null 2>&1; then
  missing="$missing nodejs npm"
fi
[ -z "$missing" ] && exit 0
echo "installing:$missing"
SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO=sudo
$SUDO apt-get update -qq
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends $missing
