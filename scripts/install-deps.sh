#!/bin/sh
# Installs the Debian packages the build and the tests need, when any is missing.
set -e
PACKAGES="build-essential cmake qtbase5-dev qtdeclarative5-dev qml-module-qtquick2 \
qml-module-qtquick-window2 qml-module-qtqml-models2 qml-module-qtquick-controls2 \
qml-module-qttest qtquickcontrols2-5-examples qml-module-qt-labs-settings qml-module-qtquick-layouts python3 python3-pytest clang libclang-rt-14-dev"
missing=""
for p in $PACKAGES; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing="$missing $p"
done
[ -z "$missing" ] && exit 0
echo "installing:$missing"
SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO=sudo
$SUDO apt-get update -qq
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends $missing
