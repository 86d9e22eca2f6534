# SPDX-License-Identifier: Apache-2.0
"""The platform kit passes for the host platform, and finds each fault of a wrong one.

KIT, WRONG_KIT, KIT_AGENT and PUBLISH name the programs. WRONG_KIT is the kit with the functions of wrong_platform.c.
"""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path
from typing import Dict, List

REPLY_TIMEOUT_MS = 300

# The check that must fail, by fault.
FAULTS: Dict[str, str] = {
    "last-result-lost": "/last-result/is-kept",
    "last-result-shared": "/last-result/is-per-thread",
    "unknown-package-other-code": "/packages/unknown",
    "version-changes": "/packages/version",
    "second-subscription": "/app-events/from-main-loop",
    "handler-stays": "/app-events/none-after-removal",
    "failed-read-stores": "/parcels/numbers",
    "bool-always-true": "/parcels/numbers",
    "strings-cut": "/parcels/strings",
    "parcel-destroy-fails": "/parcels/string-copies",
    "records-unwritten": "/parcels/arrays-of-records",
    "count-unchecked": "/parcels/negative-count",
    "callback-inside-connect": "/connection/connected",
    "one-port": "/connection/connected",
    "port-before-connection": "/connection/no-port-before",
    "rejected-without-reason": "/connection/refused",
    "proxy-stays": "/connection/many-times",
    "other-endpoint": "/destruction/in-received",
    "reply-lost": "/exchange/in-order",
    "disconnected-twice": "/exchange/closed",
    "send-never-fails": "/exchange/failed-send",
    "event-dropped": "/delivery/each-once",
}


class PlatformKit(unittest.TestCase):
    def setUp(self) -> None:
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        packages = Path(directory.name) / "packages"
        packages.mkdir()
        (packages / "org.korvane.agent.package").write_text("[Package]\nVersion=1.4.0\n", encoding="utf-8")
        self.environment = dict(os.environ, KORVANE_RUNTIME_DIR=f"{directory.name}/run", KORVANE_PACKAGE_DIR=str(packages),
                                KORVANE_REPLY_TIMEOUT_MS=str(REPLY_TIMEOUT_MS))

    def run_kit(self, program: str, *arguments: str, **environment: str) -> "subprocess.CompletedProcess[str]":
        return subprocess.run(
            [os.environ[program], "--agent-program", os.environ["KIT_AGENT"], "--package", "org.korvane.agent",
             "--package-version", "1.4.0", "--publish", os.environ["PUBLISH"], "--reply-timeout", str(REPLY_TIMEOUT_MS),
             *arguments],
            env=dict(self.environment, **environment), capture_output=True, text=True, check=False)

    def checks(self) -> List[str]:
        return [line for line in self.run_kit("KIT", "-l").stdout.splitlines() if line.startswith("/")]

    def test_the_host_platform_passes_each_check(self) -> None:
        for program in ("KIT", "WRONG_KIT"):
            kit = self.run_kit(program)
            self.assertEqual(kit.returncode, 0, kit.stdout + kit.stderr)
            passed = [line for line in kit.stdout.splitlines() if line.startswith("ok ") and "# SKIP" not in line]
            self.assertEqual(len(passed), len(self.checks()), kit.stdout)
        self.assertGreater(len(passed), 30)

    def test_each_fault_fails_its_check(self) -> None:
        for fault, check in FAULTS.items():
            with self.subTest(fault):
                self.assertIn(check, self.checks())
                kit = self.run_kit("WRONG_KIT", "-p", check, "--timeout", "2", WRONG=fault)
                self.assertNotEqual(kit.returncode, 0, kit.stdout)
                self.assertRegex(kit.stdout, rf"(?m)^not ok \d+ {check}")

    def test_a_platform_that_blocks_ends_the_kit(self) -> None:
        kit = self.run_kit("WRONG_KIT", "-p", "/exchange/in-order", "--timeout", "1", WRONG="read-blocks")
        self.assertEqual(kit.returncode, 1, kit.stdout)
        self.assertIn("Bail out! This check blocks: /exchange/in-order", kit.stdout)

    def test_a_timeout_that_ends_early_fails(self) -> None:
        kit = self.run_kit("KIT", "-p", "/exchange/silent-agent", KORVANE_REPLY_TIMEOUT_MS="50")
        self.assertRegex(kit.stdout, r"(?m)^not ok \d+ /exchange/silent-agent")

    def test_checks_without_their_option_are_skipped(self) -> None:
        kit = subprocess.run([os.environ["KIT"], "-p", "/packages/version", "-p", "/exchange/silent-agent"],
                             env=self.environment, capture_output=True, text=True, check=False)
        self.assertEqual(kit.returncode, 0, kit.stdout)
        self.assertIn("SKIP needs --package", kit.stdout)
        self.assertIn("SKIP needs --reply-timeout", kit.stdout)

    def test_wrong_arguments_are_named(self) -> None:
        for argument, text in (("--such-option", "unknown argument '--such-option'"), ("--timeout=x", "--timeout")):
            kit = subprocess.run([os.environ["KIT"], argument], env=self.environment, capture_output=True, text=True, check=False)
            self.assertEqual(kit.returncode, 2, kit.stderr)
            self.assertIn(text, kit.stderr)
            self.assertIn("see --help", kit.stderr)

    def test_an_agent_that_cannot_start_is_named(self) -> None:
        for program, text in (("/no/such/program", "cannot start the agent '/no/such/program'"), ("/bin/true", "wrote no line")):
            kit = subprocess.run([os.environ["KIT"], "-p", "/exchange/in-order", "--agent-program", program],
                                 env=self.environment, capture_output=True, text=True, check=False)
            self.assertNotEqual(kit.returncode, 0)
            self.assertIn(text, kit.stdout + kit.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
