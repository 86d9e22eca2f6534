# SPDX-License-Identifier: Apache-2.0
"""A directory in which a test runs the commands of a page as printed."""

import os
import subprocess
import tempfile
import time
from pathlib import Path
from typing import Callable, Dict, Optional

PROGRAMS = ("AGENT", "KORVANECTL", "WASHER", "FIRST_DEVICE")


class Sandbox:
    """A home, the directories of an agent, and programs of Korvane in PATH. It ends the processes that it has started."""

    def __init__(self) -> None:
        self._temporary = tempfile.TemporaryDirectory()
        self.home = Path(self._temporary.name)
        self.runtime = self.home / "run"
        (self.home / "bin").mkdir()
        for program in PROGRAMS:
            path = Path(os.environ[program])
            (self.home / "bin" / path.name).symlink_to(path)
        self._agent: "Optional[subprocess.Popen[str]]" = None

    def __enter__(self) -> "Sandbox":
        return self

    def __exit__(self, *problem: object) -> None:
        if self._agent is not None:
            self._agent.terminate()
            self._agent.communicate()
            self._log.close()
        self._temporary.cleanup()

    def environment(self) -> Dict[str, str]:
        """The environment of the commands."""
        return {
            **os.environ,
            "HOME": str(self.home),
            "PATH": f"{self.home}/bin:{os.environ['PATH']}",
            "KORVANE_RUNTIME_DIR": str(self.runtime),
            "KORVANE_PACKAGE_DIR": str(self.home / "packages"),
            "KORVANE_LOG": "off",
            "NO_COLOR": "1",
        }

    def program(self, name: str, script: str) -> None:
        """Makes a shell script available as a command."""
        file = self.home / "bin" / name
        file.unlink(missing_ok=True)  # it may be a link to a program of the build
        file.write_text(f"#!/bin/bash\nset -euo pipefail\n{script}\n", encoding="utf-8")
        file.chmod(0o755)

    def run(self, script: str, directory: Optional[Path] = None) -> str:
        """Runs commands, each of which must succeed, and returns what they print."""
        done = subprocess.run(
            ["bash", "-euo", "pipefail", "-c", script], cwd=directory or self.home, env=self.environment(),
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL, text=True, check=False,
        )
        if done.returncode != 0:
            raise AssertionError(f"exit status {done.returncode}:\n{script}\nprinted:\n{done.stdout}")
        return done.stdout

    def start_agent(self, *arguments: str) -> None:
        """Starts the agent and waits until it is ready."""
        self._log = (self.home / "agent.log").open("w")
        self._agent = subprocess.Popen(
            ["korvane-agent", *arguments], cwd=self.home, env=self.environment(), stdout=subprocess.PIPE,
            stderr=self._log, text=True, executable=str(self.home / "bin/korvane-agent"),
        )
        assert self._agent.stdout
        line = self._agent.stdout.readline()
        if '"agent":"ready"' not in line:
            raise AssertionError(f"the agent printed '{line}'")


def eventually(condition: Callable[[], bool], seconds: float = 60) -> bool:
    """Whether a condition holds within a time."""
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            return False
        time.sleep(0.02)
    return True
