# SPDX-License-Identifier: Apache-2.0
"""An application, korvanectl, connects to an agent that only knows the page."""

import json
import os
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

from page import page
from wire import CALLBACK, DEADLINE_S, MAIN, Agent, boolean, frame, handshake, int32, reply, text

CTL = os.environ["KORVANE_CTL"]
ACCEPTED = frame(b"VKPR" + int32(1) + int32(0))


class Application(unittest.TestCase):
    """A test with an agent and a call of korvanectl."""

    version = "2.3"

    def setUp(self) -> None:
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.agent = Agent(Path(directory.name), self.version)
        self.addCleanup(self.agent.close)

    def call(self, *words: str, **environment: str) -> None:
        """Begins a call."""
        self.process = subprocess.Popen(
            [CTL, "--json", "call", *words], text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
            env=dict(os.environ, KORVANE_RUNTIME_DIR=str(self.agent.runtime), KORVANE_LOG="error:stderr",
                     KORVANE_PACKAGE_DIR=str(self.agent.packages), **environment))
        self.addCleanup(self.process.wait)

    def accept(self) -> None:
        """Accepts the application, and serves the two requests that it begins with."""
        self.main, self.callback = self.agent.accept_links()
        self.addCleanup(self.main.close)
        self.addCleanup(self.callback.close)
        self.main.send(page["handshake-reply"])
        if self.version != "1.0":
            self.assertEqual(self.main.receive(), page["set_api_version"])
            self.main.send(page["reply-0"])
        self.assertEqual(self.main.receive(), page["is_update_ready"])
        self.main.send(page["is_update_ready-reply"])

    def printed(self) -> list:
        """What the application printed, after its end."""
        out, self.errors = self.process.communicate(timeout=DEADLINE_S)
        return [json.loads(line) for line in out.splitlines()]

    def result(self) -> str:
        """The result of the only call."""
        lines = [line for line in self.printed() if "call" in line]
        self.assertEqual(len(lines), 1, self.errors)
        return lines[0]["name"]

    def result_after(self, words: str, *frames: bytes) -> str:
        """The result of a call to which the agent replies with these frames."""
        self.call(*words.split())
        self.accept()
        self.main.receive()
        for one in frames:
            self.main.send(one)
        return self.result()


class Handshakes(Application):
    def assert_rejected_with(self, result: int) -> None:
        """The application's only callback was called with this result and the status REJECTED."""
        rejected = 2
        self.assertEqual([line["values"] for line in self.printed()], [[result, rejected]], self.errors)

    def test_the_application_sends_one_request_on_each_of_two_links(self) -> None:
        self.call("get_device_id")
        self.accept()
        main, callback = sorted(self.agent.handshakes, key=lambda request: request[12])
        token = main[13:29]
        self.assertEqual(main, handshake(MAIN, token, b"korvanectl"))
        self.assertEqual(callback, handshake(CALLBACK, token, b"korvanectl"))
        # The same as in the page, but for what varies.
        self.assertEqual(main[4:13], page["handshake-main"][4:13])
        self.assertEqual(callback[4:13], page["handshake-callback"][4:13])
        self.assertEqual(self.main.credentials()[:2], (self.process.pid, os.getuid()))
        self.assertEqual(self.main.receive(), page["get_device_id"])
        self.main.send(page["get_device_id-reply"])
        self.assertEqual(self.result(), "KORVANE_ERROR_NONE")

    def test_a_code_refuses_the_application(self) -> None:
        for code in ("handshake-refused", "handshake-other-version"):
            self.call("get_device_id")
            main, callback = self.agent.accept_links()
            main.send(page[code])
            main.close()
            callback.close()
            self.assert_rejected_with(-13)

    def test_a_reply_of_another_protocol_is_an_io_error(self) -> None:
        for mistake in (ACCEPTED[:8] + int32(2) + int32(0), frame(b"VKPL" + int32(1) + int32(0)), b"HTTP/1.1 400\r\n\r\n"):
            self.call("get_device_id")
            main, callback = self.agent.accept_links()
            main.send(mistake)
            self.assert_rejected_with(-5)
            main.close()
            callback.close()

    def test_a_missing_reply_is_an_io_error(self) -> None:
        self.call("get_device_id", KORVANE_CONNECT_TIMEOUT_MS="100")
        main, callback = self.agent.accept_links()
        self.assert_rejected_with(-5)
        main.close()
        callback.close()

    def test_a_pending_update_ends_the_connection(self) -> None:
        self.call("get_device_id")
        self.main, self.callback = self.agent.accept_links()
        self.main.send(page["handshake-reply"])
        self.main.receive()
        self.main.send(page["reply-0"])
        self.main.receive()
        self.main.send(reply(boolean(True)))
        self.assert_rejected_with(-1073741826)
        self.main.close()
        self.callback.close()


class Requests(Application):
    def serve(self, request: str, answer: str) -> None:
        self.assertEqual(self.main.receive(), page[request], request)
        self.main.send(page[answer])

    def test_the_application_sends_the_requests_of_the_page(self) -> None:
        self.call("get_device_id", ":", "set_language_list", "en-GB,fr-FR", ":", "disable_signin", "true")
        self.accept()
        self.serve("get_device_id", "get_device_id-reply")
        self.serve("set_language_list", "reply-0")
        self.serve("disable_signin", "common_interface-reply")
        printed = self.printed()
        self.assertEqual([line["name"] for line in printed], 3 * ["KORVANE_ERROR_NONE"], self.errors)
        self.assertEqual(printed[0]["out"], ["washer-1"])

    def test_an_event_reaches_its_registration(self) -> None:
        self.call("--events", "1", "set_status_changed_cb")
        self.accept()
        self.serve("set_status_changed_cb", "reply-0")
        self.callback.send(page["status_changed_cb"])
        self.assertEqual(self.printed()[-1]["values"], [1])

    def test_an_event_completes_a_one_shot_request_once(self) -> None:
        for before in (True, False):
            with self.subTest(before_the_reply=before):
                self.call("--wait", "0.3", "start_async")
                self.accept()
                self.assertEqual(self.main.receive(), page["start_async"])
                if before:
                    self.callback.send(page["start_async_cb"])
                self.main.send(page["reply-0"])
                if not before:
                    self.callback.send(page["start_async_cb"])
                self.callback.send(page["start_async_cb"])
                events = [line for line in self.printed() if "callback" in line]
                self.assertEqual([event["values"] for event in events], [[0]])

    def test_wrong_events_are_dropped(self) -> None:
        self.call("--events", "1", "set_status_changed_cb")
        self.accept()
        self.serve("set_status_changed_cb", "reply-0")
        delegate = int32(1) + int32(1) + boolean(False)
        for mistake in (int32(0) + delegate + int32(7),                                    # another kind
                        int32(1) + int32(33) + int32(1) + boolean(False),                  # an unknown type
                        int32(1) + delegate + b"\7",                                       # ends early
                        int32(1) + int32(1) + int32(2) + boolean(False) + int32(7),        # a delegate never given
                        int32(1)):
            self.callback.send(frame(mistake))
        self.callback.send(page["status_changed_cb"])
        events = [line for line in self.printed() if "callback" in line]
        self.assertEqual([event["values"] for event in events], [[1]])
        for line in ("Invalid protocol", "Unknown id(33)", "Failed to read the values of id(1), seq_id(1)"):
            self.assertIn(line, self.errors)


class Replies(Application):
    def test_results_become_result_codes(self) -> None:
        for result, name in ((0, "NONE"), (-13, "PERMISSION_DENIED"), (-1, "OPERATION_FAILED"), (5, "OPERATION_FAILED")):
            self.assertEqual(self.result_after("set_nick_name 0 x", reply(result=result)), "KORVANE_ERROR_" + name)

    def test_a_refusal_is_minus_1(self) -> None:
        self.assertEqual(self.result_after("set_nick_name 0 x", page["reply-refused"]), "KORVANE_ERROR_OPERATION_FAILED")

    def test_parcels_of_another_kind_are_dropped(self) -> None:
        self.assertEqual(self.result_after("set_nick_name 0 x", reply(result=-1, kind=1), frame(b""), reply()),
                         "KORVANE_ERROR_NONE")

    def test_bytes_behind_the_result_are_ignored(self) -> None:
        longer = frame(page["get_device_id-reply"][4:] + b"more")
        self.assertEqual(self.result_after("get_device_id", longer), "KORVANE_ERROR_NONE")

    def test_a_reply_that_cannot_be_read_fails_only_its_call(self) -> None:
        for mistake in (frame(int32(0)), reply(int32(9) + b"short"), reply(text("a\0b")), frame(int32(0) + text("id"))):
            self.call("--keep-going", "get_device_id", ":", "get_device_id")
            self.accept()
            self.main.receive()
            self.main.send(mistake)
            self.main.receive()
            self.main.send(page["get_device_id-reply"])
            self.assertEqual([line["name"] for line in self.printed()],
                             ["KORVANE_ERROR_OPERATION_FAILED", "KORVANE_ERROR_NONE"], mistake)

    def test_a_bool_is_0_or_1(self) -> None:
        self.assertEqual(self.result_after("get_easysetup_status", reply(b"\2")), "KORVANE_ERROR_OPERATION_FAILED")

    def test_a_frame_above_16_mib_is_an_io_error(self) -> None:
        self.assertEqual(self.result_after("get_device_id", int32(16 * 1024 * 1024 + 1)), "KORVANE_ERROR_IO_ERROR")
        self.assertIn("announced a parcel of 16777217 bytes, more than the limit of 16777216", self.errors)

    def test_a_closed_link_is_an_io_error(self) -> None:
        self.call("get_device_id")
        self.accept()
        self.main.receive()
        self.main.close()
        self.callback.close()
        self.assertEqual(self.result(), "KORVANE_ERROR_IO_ERROR")

    def test_a_late_reply_is_an_io_error(self) -> None:
        self.call("get_device_id", KORVANE_REPLY_TIMEOUT_MS="100")
        self.accept()
        self.main.receive()
        self.assertEqual(self.result(), "KORVANE_ERROR_IO_ERROR")
        self.assertTrue(self.main.is_closed_by_peer())

    def test_a_document_has_at_most_50000_values(self) -> None:
        header = '{"tcp_header_info_ip_version":4,"more":[%s]}'
        # The object and its two members are two values, the array and its first item one each.
        for items, name in ((49997, "NONE"), (49998, "OPERATION_FAILED")):
            document = header % ",".join(items * ["0"])
            self.assertEqual(self.result_after("get_tcp_header_info", reply(text(document))), "KORVANE_ERROR_" + name, items)


class OldAgent(Application):
    version = "1.1"

    def test_platform_info_is_a_record_below_1_2(self) -> None:
        self.call("platforminfo_create", ":", "platforminfo_set_model_number", "$1", "M1", ":",
                  "platforminfo_set_platform_version", "$1", "1.0", ":", "set_platform_info", "$1")
        self.accept()
        self.assertEqual(self.main.receive(), page["set_platform_info"])
        self.main.send(page["reply-0"])
        self.assertEqual(self.printed()[-1]["name"], "KORVANE_ERROR_NONE", self.errors)


class OldestAgent(Application):
    version = "1.0"

    def test_the_first_request_is_is_update_ready(self) -> None:
        self.call("get_device_id")
        self.accept()
        self.assertEqual(self.main.receive(), page["get_device_id"])
        self.main.send(page["get_device_id-reply"])
        self.assertEqual(self.result(), "KORVANE_ERROR_NONE")


if __name__ == "__main__":
    unittest.main()
