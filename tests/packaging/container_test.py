# SPDX-License-Identifier: Apache-2.0
"""container_test.py ROOT - the image's context is the source, and its user has a runtime directory.

No image is built, which takes minutes and a network.
"""

import pathlib
import re
import sys
import unittest

ROOT = pathlib.Path(sys.argv.pop())


def lines(file):
    text = (ROOT / file).read_text(encoding="utf-8")
    return [line for line in re.sub(r"\\\n *", "", text).splitlines() if line and not line.startswith("#")]


class Container(unittest.TestCase):
    def setUp(self):
        commands = lines("packaging/container/Containerfile")
        self.image = commands[max(i for i, line in enumerate(commands) if line.startswith("FROM ")):]

    def test_context_has_neither_a_build_nor_the_history(self):
        package = (ROOT / "dev").read_text(encoding="utf-8")
        excluded = re.findall(r"--exclude=\./(\S+)", re.search(r"^verb_package\(\) \{\n(.*?)^\}", package, re.M | re.S)[1])
        self.assertEqual({"build", ".git"}, set(excluded))
        self.assertEqual(sorted(excluded), sorted(lines(".dockerignore")))

    def test_user_has_a_private_runtime_directory(self):
        user = [line.split()[1] for line in self.image if line.startswith("USER ")][-1]
        directory = next(line.split("=", 1)[1] for line in self.image if line.startswith("ENV XDG_RUNTIME_DIR="))
        self.assertTrue(pathlib.PurePosixPath(directory).is_absolute())
        made = f"install -d -m 0700 -o {user} -g {user} {directory}"
        self.assertEqual(1, sum(line.startswith("RUN ") and line.endswith(made) for line in self.image), made)


unittest.main()
