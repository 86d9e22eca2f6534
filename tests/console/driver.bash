# SPDX-License-Identifier: Apache-2.0
# The browser of tests and its driver. To be sourced.

# install_driver TEST PLACE: checks the tools that the test needs, installs the driver below PLACE, once for each
# package-lock.json, and sets KORVANE_NODE_PACKAGES.
install_driver() {
    local test=$1 place=$2 sources browser tool
    sources=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
    browser=chromium-headless-shell
    command -v "$browser" >/dev/null || browser=chromium
    for tool in node npm "$browser" setpriv dbus-run-session; do
        command -v "$tool" >/dev/null && continue
        echo "$test: $tool is not installed; './dev test' installs the packages that debian/control lists" \
            "(nodejs, npm, chromium-headless-shell, util-linux, dbus-daemon)" >&2
        exit 1
    done
    mkdir -p "$place"
    if ! cmp -s "$sources/package-lock.json" "$place/installed"; then
        cp "$sources/package.json" "$sources/package-lock.json" "$place/"
        npm ci --prefix "$place" --cache "$place/../npm-cache" --prefer-offline --ignore-scripts --no-audit --no-fund \
            >"$place/npm.log" 2>&1 || {
            cat "$place/npm.log" >&2
            echo "$test: npm could not install the packages of $sources/package-lock.json; the first run needs the network" >&2
            exit 1
        }
        cp "$sources/package-lock.json" "$place/installed"
    fi
    export KORVANE_NODE_PACKAGES=$place
}
