# SPDX-License-Identifier: Apache-2.0
# The browser of tests and its driver. To be sourced.

# install_driver TEST WORK: checks the tools that the test needs, installs the driver below WORK, once for each
# package-lock.json, and sets KORVANE_NODE_PACKAGES.
install_driver() {
    local test=$1 work=$2 here browser tool
    here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
    browser=chromium-headless-shell
    command -v "$browser" >/dev/null || browser=chromium
    for tool in node npm "$browser" setpriv dbus-run-session; do
        command -v "$tool" >/dev/null && continue
        echo "$test: $tool is not installed; './dev test' installs the packages that debian/control lists" \
            "(nodejs, npm, chromium-headless-shell, util-linux, dbus-daemon)" >&2
        exit 1
    done
    mkdir -p "$work"
    if ! cmp -s "$here/package-lock.json" "$work/installed"; then
        cp "$here/package.json" "$here/package-lock.json" "$work/"
        npm ci --prefix "$work" --cache "$work/../npm-cache" --prefer-offline --ignore-scripts --no-audit --no-fund \
            >"$work/npm.log" 2>&1 || {
            cat "$work/npm.log" >&2
            echo "$test: npm could not install the packages of $here/package-lock.json; the first run needs the network" >&2
            exit 1
        }
        cp "$here/package-lock.json" "$work/installed"
    fi
    export KORVANE_NODE_PACKAGES=$work
}
