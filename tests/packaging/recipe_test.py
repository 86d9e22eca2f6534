# SPDX-License-Identifier: Apache-2.0
"""recipe_test.py RECIPE - the recipe for Yocto needs systemd only on distributions that have it.

BitBake is not needed: the test expands the default of PACKAGECONFIG with the one function that it calls.
"""

import pathlib
import re
import sys
import types
import unittest

RECIPE = sys.argv.pop()


def contains(variable, wanted, if_true, if_false, d):
    return if_true if set(wanted.split()) <= set(d[variable].split()) else if_false


BB = types.SimpleNamespace(utils=types.SimpleNamespace(contains=contains))


def configuration(distro_features):
    """The options for CMake and the dependencies of a build without a .bbappend."""
    text = pathlib.Path(RECIPE).read_text(encoding="utf-8")
    default = re.search(r'^PACKAGECONFIG \?\?= "(.*)"$', text, re.MULTILINE)[1]
    data = {"DISTRO_FEATURES": distro_features}
    chosen = re.sub(r"\$\{@(.*?)\}", lambda match: eval(match[1], {"bb": BB, "d": data}), default).split()
    options, depends = [], []
    for name, value in re.findall(r'^PACKAGECONFIG\[(\w+)\] = "(.*)"$', text, re.MULTILINE):
        enabled, disabled, needs = (value.split(",") + [""])[:3]
        options.append(enabled if name in chosen else disabled)
        if name in chosen:
            depends += needs.split()
    return sorted(options), depends


class Recipe(unittest.TestCase):
    def test_has_events_on_a_distribution_with_systemd(self):
        self.assertEqual((["-DKORVANE_EVENTS=ON", "-DKORVANE_PLATFORM=host"], ["systemd"]), configuration("ipv4 systemd usrmerge"))

    def test_has_no_events_on_a_distribution_without_systemd(self):
        self.assertEqual((["-DKORVANE_EVENTS=OFF", "-DKORVANE_PLATFORM=host"], []), configuration("ipv4 sysvinit"))


unittest.main()
