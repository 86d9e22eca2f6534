# SPDX-License-Identifier: Apache-2.0
"""A private virtual agent for the tests of an application in any language.

The agent runs as a child process with its own temporary directories, through the library korvane-test. Its commands,
methods, events and faults are those of `korvane-agent --help`.
"""

import json
import os
import subprocess
from pathlib import Path
from types import TracebackType
from typing import Any, Callable, Dict, List, Optional, Sequence, Type, Union

from korvane._ffi import ffi

_lib: Any = None


def _library() -> Any:
    global _lib
    if _lib is None:
        _lib = ffi.dlopen("libkorvane-test.so.2")
    return _lib


def _text(text: Any) -> str:
    return bytes(ffi.string(text)).decode("utf-8", "replace")


class AgentError(AssertionError):
    """The agent refused a command, or what a test waits for did not happen. The text names what was nearest."""


class Agent:
    """A running virtual agent.

    Waits run the default GLib main context, so that callbacks of this process run meanwhile. Do not call a method in a callback of the application: the agent replies in order.
    """

    def __init__(
        self,
        version: Optional[str] = None,
        *,
        scenario: Union[str, Path, None] = None,
        arguments: Sequence[str] = (),
        program: Optional[str] = None,
        directory: Union[str, Path, None] = None,
    ) -> None:
        """Start an agent and wait until it is ready.

        `version` is "1.0" to "2.3", by default the newest. `scenario` is played by play() without a path. `program` is
        by default the value of KORVANE_AGENT, or korvane-agent in PATH.
        """
        self._scenario = scenario
        self._applications: List["subprocess.Popen[bytes]"] = []
        kept = [ffi.new("char[]", os.fsencode(each)) for each in arguments]
        options = ffi.new("korvane_test_options *")
        array = ffi.new("char *[]", [*kept, ffi.NULL])
        texts = {"version": version, "program": program, "directory": directory}
        for member, text in texts.items():
            if text is not None:
                kept.append(ffi.new("char[]", os.fsencode(text)))
                setattr(options, member, kept[-1])
        options.arguments = array
        self._agent = _library().korvane_test_start(options)
        if self._agent == ffi.NULL:
            raise AgentError(_text(_library().korvane_test_problem(ffi.NULL)))

    def stop(self) -> None:
        """Kill the applications of start_application() and the agent, and remove its directory."""
        for application in self._applications:
            application.kill()
            application.wait()
        self._applications.clear()
        if self._agent != ffi.NULL:
            _library().korvane_test_stop(self._agent)
            self._agent = ffi.NULL

    def __enter__(self) -> "Agent":
        return self

    def __exit__(
        self,
        exc_type: Optional[Type[BaseException]],
        exc: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.stop()

    def _check(self, succeeded: bool) -> None:
        if not succeeded:
            raise AgentError(_text(_library().korvane_test_problem(self._agent)))

    # ---- commands

    def ask(self, command: str) -> Dict[str, Any]:
        """Run a command and return the reply."""
        reply = _library().korvane_test_ask(self._agent, command.encode())
        self._check(reply != ffi.NULL)
        try:
            parsed: Dict[str, Any] = json.loads(_text(reply))
            return parsed
        finally:
            ffi.dlopen(None).free(reply)

    def emit(self, event: str, *values: Any) -> None:
        """Send an event to the applications that are registered for it; without values, sample values."""
        self.ask(f"emit {event} {json.dumps(values)}" if values else f"emit {event}")

    def fault(self, method: str, form: str, value: Optional[int] = None, times: Optional[int] = None) -> None:
        """Inject a failure into the next requests of a method."""
        self.ask(" ".join(str(each) for each in ("fault", method, form, value, times) if each is not None))

    def phone(self, step: str, **members: Any) -> Dict[str, Any]:
        """Run a step of the simulated phone: phone("choose", ssid="home", password="secret")."""
        return self.ask(f"phone {step} {json.dumps(members)}" if members else f"phone {step}")

    def cloud(self, step: str, **members: Any) -> Dict[str, Any]:
        """Run a step of the simulated cloud."""
        return self.ask(f"cloud {step} {json.dumps(members)}" if members else f"cloud {step}")

    def update(self, step: str, value: Optional[str] = None) -> None:
        """Simulate a step of an agent update."""
        self.ask(f"update {step}" if value is None else f"update {step} {value}")

    def state(self, path: str = "") -> Any:
        """Return the agent's state, or the member at a path such as "setup.networks.0.ssid"."""
        reply = self.ask(f"state {path}".rstrip())
        return reply["state"]

    def play(self, scenario: Union[str, Path, None] = None, within: float = 60.0) -> None:
        """Run a scenario to its end; raise AgentError with the step that failed."""
        path = scenario or self._scenario
        if path is None:
            raise ValueError("give play() or the agent a scenario")
        self._check(_library().korvane_test_play(self._agent, os.fsencode(path), int(within * 1000)))

    # ---- what the application has done

    def wait_for_call(self, method: str, within: float = 5.0, **arguments: Any) -> None:
        """Wait until the application has called a method with these arguments, after the call of the previous wait.

        Raises AgentError, which names the nearest call.
        """
        wanted = json.dumps(arguments).encode() if arguments else ffi.NULL
        milliseconds = int(within * 1000)
        self._check(_library().korvane_test_wait_for_call(self._agent, method.encode(), wanted, milliseconds))

    def count_calls(self, method: str) -> int:
        """Count the calls of a method since the agent was started."""
        count = int(_library().korvane_test_count_calls(self._agent, method.encode()))
        if count == 0:
            self._check(_text(_library().korvane_test_problem(self._agent)) == "")
        return count

    def until(self, path: str, value: Any, within: float = 5.0) -> None:
        """Wait until the member of the state at a path has a value. Raises AgentError with the difference."""
        wanted = json.dumps(value).encode()
        self._check(_library().korvane_test_until(self._agent, path.encode(), wanted, int(within * 1000)))

    def run_until(self, condition: Callable[[], bool], within: float = 5.0) -> None:
        """Run the main context until a condition holds. Raises AgentError if it does not."""
        callback = ffi.callback("bool(void *)", lambda _: bool(condition()))
        if not _library().korvane_test_run_until(callback, ffi.NULL, int(within * 1000)):
            raise AgentError(f"the condition did not hold within {within} s")

    def journal(self, **members: Any) -> List[Dict[str, Any]]:
        """Return the entries of the journal that have these members: journal(method="start")."""
        entries: List[Dict[str, Any]] = self.ask(f"journal 0 100000 {json.dumps(members)}")["entries"]
        return entries

    # ---- an application in a process of its own

    @property
    def environment(self) -> Dict[str, str]:
        """The environment with which another process reaches this agent."""
        # The library has changed the variables of this process, but os.environ is a copy from its start.
        places = {"KORVANE_RUNTIME_DIR": "run", "KORVANE_PACKAGE_DIR": "packages"}
        return {**os.environ, **{name: os.path.join(self.directory, place) for name, place in places.items()}}

    def start_application(self, *command: str, **options: Any) -> "subprocess.Popen[bytes]":
        """Start an application in any language. It is killed with the agent."""
        environment = {**self.environment, **options.pop("env", {})}
        application = subprocess.Popen(command, env=environment, **options)
        self._applications.append(application)
        return application

    @property
    def directory(self) -> str:
        """The agent's directory, with agent.log and agent.err."""
        return _text(_library().korvane_test_directory(self._agent))

    @property
    def pid(self) -> int:
        """The process id of the agent."""
        return int(_library().korvane_test_pid(self._agent))
