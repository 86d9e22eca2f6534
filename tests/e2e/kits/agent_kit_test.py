# SPDX-License-Identifier: Apache-2.0
"""The agent kit passes for the virtual agent and for a small right agent, and finds each fault of a wrong one.

KIT names the program, KORVANE_AGENT and KORVANE_CTL those with which a virtual agent is started.
"""

import os
import struct
import subprocess
import tempfile
import threading
import unittest
from pathlib import Path
from typing import Callable, List, NamedTuple, Optional

from wire import Agent, Link, boolean, frame, int32, open_link, reply, text

KIT = os.environ["KIT"]
ACCEPTED = frame(b"VKPR" + int32(1) + int32(0))

SET_STATUS_CHANGED_CB, GET_DEVICE_ID, SET_NICK_NAME, START_ASYNC, COMMON_INTERFACE = 6, 28, 47, 101, 102


def number(payload: bytes, position: int = 0) -> int:
    return struct.unpack_from("<i", payload, position)[0]


def event(delegate: bytes, *values: bytes) -> bytes:
    return frame(int32(1) + delegate + b"".join(values))


class Answer(NamedTuple):
    """What the agent sends for a request: a reply, or nothing if it closes the connection, and events."""

    reply: Optional[bytes]
    events: bytes = b""


def right(payload: bytes, version: float) -> Answer:
    """The answer of a right agent that serves the methods below."""
    if len(payload) < 4:
        return Answer(None)
    method = number(payload)
    if method == 2:
        return Answer(reply(boolean(False)))
    if method == 39:
        return Answer(reply())
    if method == GET_DEVICE_ID:
        return Answer(reply(text("kit-device")))
    if method == SET_STATUS_CHANGED_CB:
        return Answer(reply() if len(payload) == 13 and number(payload, 4) == 1 else None)
    if method == SET_NICK_NAME:
        if len(payload) < 12:
            return Answer(None)
        return Answer(reply(result=0 if version >= 1.2 else -1))
    if method == START_ASYNC:
        return Answer(reply(), event(payload[-9:], int32(0)))
    if method == COMMON_INTERFACE:
        is_known = any(pattern in payload for pattern in (b'"common_interface":1,', b'"common_interface" : 1 '))
        return Answer(reply(text("{}"), result=0 if is_known else -1))
    return Answer(reply(result=-1))


class Fault(NamedTuple):
    """A wrong answer to the requests of one method."""

    name: str
    check: str  # which must find it
    method: Optional[int]  # None for unknown methods and empty requests
    wrong: Callable[[bytes], Answer]
    version: str = "2.3"


SERVED = (2, 39, GET_DEVICE_ID, SET_STATUS_CHANGED_CB, SET_NICK_NAME, START_ASYNC, COMMON_INTERFACE)
ID = text("kit-device")
FAULTS = (
    Fault("first request fails", "/session/first-requests", 39, lambda _: Answer(reply(result=-1))),
    Fault("replies change places", "/session/order-of-replies", GET_DEVICE_ID, lambda _: Answer(reply(boolean(False)))),
    Fault("connection serves no other", "/session/two-connections", 2, lambda _: Answer(None)),
    Fault("closes at once", "/session/many-connections", 2, lambda _: Answer(None)),
    Fault("agent is confused", "/session/ends-inside-request", GET_DEVICE_ID, lambda _: Answer(reply())),
    Fault("bytes follow", "/methods/get_device_id", GET_DEVICE_ID, lambda _: Answer(frame(int32(0) + ID + int32(0) + b"\1"))),
    Fault("out value is missing", "/methods/get_device_id", GET_DEVICE_ID, lambda _: Answer(reply())),
    Fault("result is missing", "/methods/get_device_id", GET_DEVICE_ID, lambda _: Answer(frame(int32(0) + ID))),
    Fault("reply is an event", "/methods/get_device_id", GET_DEVICE_ID, lambda _: Answer(reply(ID, kind=1))),
    Fault("no reply", "/methods/get_device_id", GET_DEVICE_ID, lambda _: Answer(None)),
    Fault("registration is refused", "/methods/set_status_changed_cb", SET_STATUS_CHANGED_CB,
          lambda _: Answer(reply(result=-1))),
    Fault("event that was not asked for", "/methods/set_status_changed_cb", SET_STATUS_CHANGED_CB,
          lambda payload: Answer(reply(), event(int32(1) + int32(9999) + b"\0", int32(1)))),
    Fault("later method is served", "/methods/set_nick_name", SET_NICK_NAME, lambda _: Answer(reply()), "1.0"),
    Fault("no event", "/methods/start_async", START_ASYNC, lambda _: Answer(reply())),
    Fault("two events", "/methods/start_async", START_ASYNC, lambda payload: Answer(reply(), 2 * event(payload[-9:], int32(0)))),
    Fault("event after a refusal", "/methods/start_async", START_ASYNC,
          lambda payload: Answer(reply(result=-1), event(payload[-9:], int32(0)))),
    Fault("event with another number", "/methods/start_async", START_ASYNC,
          lambda payload: Answer(reply(), event(payload[-9:-5] + int32(9999) + b"\1", int32(0)))),
    Fault("event without its value", "/methods/start_async", START_ASYNC, lambda payload: Answer(reply(), event(payload[-9:]))),
    Fault("event with more values", "/methods/start_async", START_ASYNC,
          lambda payload: Answer(reply(), event(payload[-9:], int32(0), b"\1"))),
    Fault("event of another kind", "/methods/start_async", START_ASYNC,
          lambda payload: Answer(reply(), frame(int32(0) + payload[-9:] + int32(0)))),
    Fault("text instead of a document", "/documents/set_device_type", COMMON_INTERFACE, lambda _: Answer(reply(text("fine")))),
    Fault("only compact documents", "/documents/any-layout", COMMON_INTERFACE,
          lambda payload: Answer(reply(text("{}"), result=0 if b'"common_interface":1,' in payload else -1))),
    Fault("unknown command succeeds", "/documents/unknown-command", COMMON_INTERFACE, lambda _: Answer(reply(text("{}")))),
    Fault("text ends the connection", "/documents/each-text", COMMON_INTERFACE, lambda _: Answer(None)),
    Fault("unknown method ends the connection", "/malformed/unknown-methods", None, lambda _: Answer(None)),
    Fault("unknown method succeeds", "/malformed/unknown-methods", None, lambda _: Answer(reply())),
    Fault("empty request is served", "/malformed/empty", None, lambda _: Answer(reply(result=-1))),
    Fault("other delegate is accepted", "/malformed/other-delegate", SET_STATUS_CHANGED_CB, lambda _: Answer(reply())),
    Fault("cut request is served", "/malformed/cut/set_nick_name", SET_NICK_NAME, lambda _: Answer(reply(result=-1))),
)


class TestAgent(Agent):
    """Serves each connection on a thread, until its end."""

    def __init__(self, directory: Path, version: str, fault: Optional[Fault]):
        super().__init__(directory, version)
        self._version = float(version)
        self._fault = fault
        self._threads: List[threading.Thread] = []
        self._is_open = True
        self._accept = threading.Thread(target=self._accept_all)
        self._accept.start()

    def _answer(self, payload: bytes) -> Answer:
        method = number(payload) if len(payload) >= 4 else None
        if self._fault and self._fault.method == (method if method in SERVED else None):
            return self._fault.wrong(payload)
        return right(payload, self._version)

    def _accept_all(self) -> None:
        while self._is_open:
            try:
                main, callback = self.accept_links()
            except ConnectionError:
                continue
            self._threads.append(threading.Thread(target=self._serve, args=(main, callback)))
            self._threads[-1].start()

    def _serve(self, main: Link, callback: Link) -> None:
        try:
            main.send(ACCEPTED)
            while request := main.receive():
                answer = self._answer(request[4:])
                if answer.events:
                    callback.send(answer.events)
                if answer.reply is None:
                    break
                main.send(answer.reply)
        except OSError:
            pass  # the kit has closed the connection
        main.close()
        callback.close()

    def close(self) -> None:
        self._is_open = False
        open_link(self.runtime).close()  # ends the wait for a connection
        self._accept.join()
        super().close()
        for thread in self._threads:
            thread.join()


class AgentKit(unittest.TestCase):
    def run_kit(self, directory: str, *arguments: str) -> "subprocess.CompletedProcess[str]":
        return subprocess.run([KIT, *arguments], capture_output=True, text=True, check=False,
                              env=dict(os.environ, KORVANE_RUNTIME_DIR=f"{directory}/run", KORVANE_PACKAGE_DIR=f"{directory}/packages"))

    def check(self, check: str, version: str, fault: Optional[Fault] = None) -> "subprocess.CompletedProcess[str]":
        with tempfile.TemporaryDirectory() as directory:
            agent = TestAgent(Path(directory), version, fault)
            try:
                return self.run_kit(directory, "-p", check, "--timeout", "2")
            finally:
                agent.close()

    def test_a_right_agent_passes(self) -> None:
        for check, version in sorted({(fault.check, fault.version) for fault in FAULTS}):
            with self.subTest(check):
                kit = self.check(check, version)
                self.assertEqual(kit.returncode, 0, kit.stdout + kit.stderr)
                self.assertRegex(kit.stdout, rf"(?m)^ok \d+ {check}$")

    def test_each_fault_fails_its_check(self) -> None:
        for fault in FAULTS:
            with self.subTest(fault.name):
                kit = self.check(fault.check, fault.version, fault)
                self.assertNotEqual(kit.returncode, 0, kit.stdout)
                self.assertRegex(kit.stdout, rf"(?m)^not ok \d+ {fault.check}")

    def test_the_virtual_agent_passes_in_each_version(self) -> None:
        for version in ("1.0", "1.1", "1.2", "1.3", "1.4", "1.5", "1.6", "2.0", "2.1", "2.2", "2.3"):
            with self.subTest(version), tempfile.TemporaryDirectory() as directory:
                environment = dict(os.environ, KORVANE_RUNTIME_DIR=f"{directory}/run", KORVANE_PACKAGE_DIR=f"{directory}/packages")
                control = [os.environ["KORVANE_CTL"], "agent"]
                subprocess.run([*control, "start", "--agent-version", version], env=environment, check=True, capture_output=True)
                try:
                    kit = self.run_kit(directory)
                finally:
                    subprocess.run([*control, "stop"], env=environment, check=True, capture_output=True)
                self.assertEqual(kit.returncode, 0, kit.stdout + kit.stderr)
                passed = [line for line in kit.stdout.splitlines() if line.startswith("ok ") and "# SKIP" not in line]
                self.assertGreater(len(passed), 120, kit.stdout)

    def test_a_missing_agent_is_reported(self) -> None:
        with tempfile.TemporaryDirectory() as directory:
            kit = self.run_kit(directory)
            self.assertEqual(kit.returncode, 2)
            self.assertIn("no installed package gives the agent's version", kit.stderr)
            kit = self.run_kit(directory, "--agent-version", "2.3", "-p", "/session/first-requests")
            self.assertNotEqual(kit.returncode, 0)
            self.assertIn("cannot connect to port kv_master of org.korvane.agent", kit.stdout + kit.stderr)

    def test_wrong_arguments_are_named(self) -> None:
        with tempfile.TemporaryDirectory() as directory:
            for argument, words in (("--such-option", "unknown argument --such-option"), ("--agent-version=x", "not a version")):
                kit = self.run_kit(directory, argument)
                self.assertEqual(kit.returncode, 2, kit.stderr)
                self.assertIn(words, kit.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
