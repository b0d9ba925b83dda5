#!/bin/sh
# Installs WebdriverIO (pinned in tests/webdriver/package-lock.json) into a build directory for the
# WebDriver endpoint's tests: `webdriver-clients.sh DIR`, where DIR holds copies of
# tests/webdriver/package.json and package-lock.json. Installs Debian's nodejs and npm first when
# missing, and python3-selenium and python3-lxml when Debian's Python lacks them. Does nothing
# more when DIR already has this lock installed.
set -e
dir=$(cd "${1:?usage: webdriver-clients.sh DIR}" && pwd)
SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO=sudo
missing=""
command -v node >/dev/null 2>&1 && command -v npm >/dev/null 2>&1 || missing="nodejs npm"
/usr/bin/python3 -c "import selenium" 2>/dev/null || missing="$missing python3-selenium"
/usr/bin/python3 -c "import lxml" 2>/dev/null || missing="$missing python3-lxml"
if [ -n "$missing" ]; then
  echo "installing:$missing"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends $missing
fi
stamp="$dir/node_modules/.uiremote-lock"
if [ -f "$stamp" ] && cmp -s "$stamp" "$dir/package-lock.json"; then
  exit 0
fi
cd "$dir"
npm ci --no-audit --no-fund --loglevel=error
cp package-lock.json "$stamp"
echo "WebdriverIO installed in $dir (node $(node --version))"
