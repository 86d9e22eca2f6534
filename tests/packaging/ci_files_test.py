# SPDX-License-Identifier: Apache-2.0
"""ci_files_test.py ROOT - the files for build services keep the reports of the tests, and may do what their commands do."""

import pathlib
import re
import sys
import unittest

ROOT = pathlib.Path(sys.argv.pop())


def jobs(file, first_line):
    """The text of each job by its name. `first_line` matches the line that names a job."""
    parts = re.split(first_line, (ROOT / file).read_text(encoding="utf-8"), flags=re.MULTILINE)
    return dict(zip(parts[1::2], parts[2::2]))


GITHUB = jobs(".github/workflows/test.yml", r"^  ([a-z]+):$")
GITLAB = jobs(".gitlab-ci.yml", r"^([a-z]+):$")


class CiFiles(unittest.TestCase):
    def test_keep_the_reports_of_all_tests_also_if_they_fail(self):
        for service, wanted in ((GITHUB, ("if: always()", "path: build/logs/")),
                                (GITLAB, ("when: always", "paths: [build/logs/]", "junit: build/logs/tests.*.xml"))):
            tests = {name: text for name, text in service.items() if re.search(r"\./dev (test|cross)\b", text)}
            self.assertEqual({"test", "cross"}, set(tests))
            for name, text in tests.items():
                for line in wanted:
                    with self.subTest(job=name, line=line):
                        self.assertIn(line, text)

    def test_let_git_read_a_checkout_of_another_user(self):
        for name in ("lint", "package"):
            with self.subTest(job=name):
                self.assertIn("git config --global --add safe.directory", GITHUB[name])

    def test_run_containers_of_jenkins_as_root_which_installs_packages(self):
        text = (ROOT / "docs/ci/Jenkinsfile").read_text(encoding="utf-8")
        self.assertRegex(text, r"docker \{\s*image 'debian:12'\s*args '-u root'\s*\}")
        self.assertEqual(["'-u root'"], re.findall(r"\.inside\b(?:\((.*?)\))?", text))


unittest.main()
