# SPDX-License-Identifier: Apache-2.0
SUMMARY = "C library for home devices that a phone provisions and a cloud manages"
DESCRIPTION = "The library forwards each call of the application to the agent, a separate process, and delivers the agent's \
events on the application's GLib main loop."
LICENSE = "Apache-2.0"
LIC_FILES_CHKSUM = "file://LICENSE;md5=3b83ef96387f14655fc854ddc3c6bd57"

# The archive is beside this recipe, in the folder files/.
SRC_URI = "file://korvane-${PV}.tar.xz"

inherit cmake pkgconfig

DEPENDS = "glib-2.0 cjson"

# The platform functions are those for any Linux machine, or those of the device, which another recipe provides. The recipe of
# systemd is skipped on distributions without it.
PACKAGECONFIG ??= "host ${@bb.utils.contains('DISTRO_FEATURES', 'systemd', 'events', '', d)}"
PACKAGECONFIG[host] = "-DKORVANE_PLATFORM=host,-DKORVANE_PLATFORM=none"
PACKAGECONFIG[events] = "-DKORVANE_EVENTS=ON,-DKORVANE_EVENTS=OFF,systemd,systemd"

EXTRA_OECMAKE = " \
    -DKORVANE_BUILD_AGENT=OFF \
    -DKORVANE_BUILD_TOOLS=OFF \
    -DKORVANE_BUILD_EXAMPLES=OFF \
    -DKORVANE_BUILD_PYTHON=OFF \
    -DKORVANE_BUILD_TESTS=OFF \
    -DKORVANE_WERROR=OFF \
    -DCMAKE_SKIP_INSTALL_RPATH=ON \
"
