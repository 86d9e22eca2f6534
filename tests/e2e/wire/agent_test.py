# SPDX-License-Identifier: Apache-2.0
"""The virtual agent receives the bytes of the page, and mistakes, from a client that only knows the page."""

import json
import os
import signal
import subprocess
import tempfile
import unittest
from pathlib import Path

from page import page
from wire import CALLBACK, DEADLINE_S, MAIN, Client, boolean, frame, handshake, int32, open_link, reply, text

AGENT = os.environ["KORVANE_AGENT"]


class VirtualAgent(unittest.TestCase):
    """A test with a private virtual agent."""

    options: tuple = ()

    def setUp(self) -> None:
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.runtime = Path(directory.name) / "run"
        self.environment = dict(os.environ, KORVANE_RUNTIME_DIR=str(self.runtime),
                                KORVANE_PACKAGE_DIR=str(Path(directory.name) / "packages"))
        self.process = subprocess.Popen([AGENT, "--device-id", "washer-1", "--commands", *self.options],
                                        env=self.environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.addCleanup(self.stop)
        self.assertEqual(json.loads(self.process.stdout.readline())["agent"], "ready")

    def stop(self) -> None:
        self.process.stdin.close()
        status = self.process.wait(DEADLINE_S)
        self.process.stdout.close()
        self.assertEqual(status, 0)

    def command(self, line: str) -> dict:
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        result = json.loads(self.process.stdout.readline())
        self.assertTrue(result["ok"], result)
        return result

    def client(self) -> Client:
        client = Client(self.runtime).connect()
        self.addCleanup(client.close)
        return client

    def link(self):
        link = open_link(self.runtime)
        self.addCleanup(link.close)
        return link

    def assert_serves(self) -> None:
        self.assertEqual(self.client().exchange(page["get_device_id"]), page["get_device_id-reply"])


class Handshakes(VirtualAgent):
    def test_the_page_shows_valid_requests(self) -> None:
        self.assertEqual(page["handshake-main"], handshake(MAIN, bytes(range(16)), b"demo"))
        self.assertEqual(page["handshake-callback"], handshake(CALLBACK, bytes(range(16)), b"demo"))
        self.assertEqual(page["unknown-method"], frame(int32(109)))

    def test_both_links_are_accepted_with_one_reply_on_the_main_link(self) -> None:
        client = Client(self.runtime)
        self.addCleanup(client.close)
        client.callback.send(page["handshake-callback"])
        client.main.send(page["handshake-main"])
        self.assertEqual(client.main.receive(), page["handshake-reply"])
        self.assertEqual(client.exchange(page["set_status_changed_cb"]), page["reply-0"])
        self.command("emit status_changed_cb [1]")
        self.assertEqual(client.callback.receive(), page["status_changed_cb"], "nothing came before it on this link")

    def test_another_version_is_refused_on_its_link(self) -> None:
        link = self.link()
        link.send(handshake(MAIN, version=2))
        self.assertEqual(link.receive(), page["handshake-other-version"])
        self.assertTrue(link.is_closed_by_peer())

    def test_names_have_0_to_255_bytes(self) -> None:
        for length in (0, 255):
            client = Client(self.runtime)
            self.addCleanup(client.close)
            client.main.send(handshake(MAIN, name=b"x" * length))
            client.callback.send(handshake(CALLBACK, name=b"x" * length))
            self.assertEqual(client.main.receive(), page["handshake-reply"], length)

    def test_what_is_no_handshake_closes_the_link(self) -> None:
        valid = page["handshake-main"]
        for mistake in (b"GET / HTTP/1.1\r\n\r\n", valid[:4] + b"VKPR" + valid[8:], valid[:12] + b"\2" + valid[13:],
                        handshake(MAIN, name=b"x" * 256), handshake(MAIN, name=b"a\0b"), int32(28) + valid[4:],
                        valid + page["get_device_id"]):
            link = self.link()
            link.send(mistake)
            self.assertTrue(link.is_closed_by_peer(), mistake)
        self.assert_serves()

    def test_data_before_the_reply_closes_the_link(self) -> None:
        link = self.link()
        link.send(page["handshake-main"])
        link.send(page["get_device_id"])
        self.assertTrue(link.is_closed_by_peer())

    def test_links_with_different_tokens_are_not_one_connection(self) -> None:
        main, callback = self.link(), self.link()
        main.send(handshake(MAIN, token=b"a" * 16))
        callback.send(handshake(CALLBACK, token=b"b" * 16))
        self.assert_serves()
        self.assertEqual(self.command("count " + json.dumps({"connection": "connected"}))["count"], 1)


class ShortTimeout(VirtualAgent):
    def setUp(self) -> None:
        os.environ["KORVANE_CONNECT_TIMEOUT_MS"] = "100"
        self.addCleanup(os.environ.pop, "KORVANE_CONNECT_TIMEOUT_MS")
        super().setUp()

    def test_one_link_without_the_other_is_closed(self) -> None:
        link = self.link()
        link.send(page["handshake-main"])
        self.assertTrue(link.is_closed_by_peer())

    def test_a_silent_link_is_closed(self) -> None:
        self.assertTrue(self.link().is_closed_by_peer())


class Refusing(VirtualAgent):
    options = ("--refuse",)

    def test_the_reply_has_a_code(self) -> None:
        client = Client(self.runtime)
        self.addCleanup(client.close)
        client.main.send(page["handshake-main"])
        client.callback.send(page["handshake-callback"])
        self.assertEqual(client.main.receive(), page["handshake-refused"])
        self.assertTrue(client.is_disconnected())


class Requests(VirtualAgent):
    def test_the_requests_of_the_page_have_its_replies(self) -> None:
        client = self.client()
        for request, expected in (("set_api_version", "reply-0"), ("is_update_ready", "is_update_ready-reply"),
                                  ("get_device_id", "get_device_id-reply"), ("set_platform_info", "reply-0"),
                                  ("set_language_list", "reply-0"), ("disable_signin", "common_interface-reply"),
                                  ("unknown-method", "reply-refused")):
            self.assertEqual(client.exchange(page[request]), page[expected], request)
        state = self.command("state")["state"]
        self.assertEqual(state["setup"]["languages"], ["en-GB", "fr-FR"])
        self.assertEqual(json.loads(state["cloud"]["platform_infos"]["0"]), {"model_number": "M1", "p_ver": "1.0"})

    def test_replies_are_in_the_order_of_the_requests(self) -> None:
        client = self.client()
        client.main.send(page["get_device_id"] + page["is_update_ready"] + page["unknown-method"])
        self.assertEqual([client.main.receive() for _ in range(3)],
                         [page["get_device_id-reply"], page["is_update_ready-reply"], page["reply-refused"]])

    def test_a_one_shot_request_has_one_event(self) -> None:
        client = self.client()
        self.assertEqual(client.exchange(page["start_async"]), page["reply-0"])
        self.assertEqual(client.callback.receive(), page["start_async_cb"])
        client.exchange(page["set_status_changed_cb"])
        self.command("emit status_changed_cb [1]")
        self.assertEqual(client.callback.receive(), page["status_changed_cb"], "no second start_async_cb before it")

    def test_a_refused_one_shot_request_has_no_event(self) -> None:
        client = self.client()
        get_group_id = frame(int32(99) + int32(26) + int32(9) + boolean(True))
        self.assertEqual(client.exchange(get_group_id), page["reply-refused"], "the device has no owner")
        client.exchange(page["set_status_changed_cb"])
        self.command("emit status_changed_cb [1]")
        self.assertEqual(client.callback.receive(), page["status_changed_cb"])

    def test_a_later_registration_replaces_the_delegate_and_unset_removes_it(self) -> None:
        client = self.client()
        client.exchange(page["set_status_changed_cb"])
        client.exchange(frame(int32(6) + int32(1) + int32(5) + boolean(False)))
        self.command("emit status_changed_cb [1]")
        self.assertEqual(client.callback.receive(),
                         frame(int32(1) + int32(1) + int32(5) + boolean(False) + int32(1)))
        self.assertEqual(client.exchange(frame(int32(7))), page["reply-0"])
        self.assertEqual(self.command("emit status_changed_cb [1]")["peers"], 0)

    def test_bytes_behind_the_arguments_are_ignored(self) -> None:
        self.assertEqual(self.client().exchange(frame(int32(28) + b"more")), page["get_device_id-reply"])

    def test_malformed_requests_close_the_connection(self) -> None:
        for request in (b"", b"\x1c", int32(10), int32(10) + b"\2", int32(77) + int32(5) + b"four",
                        int32(77) + text("a\0b"), int32(77) + int32(-1), int32(98) + int32(-1) + b"\1",
                        int32(98) + int32(2) + int32(1), int32(6) + int32(2) + int32(1) + b"\0",
                        int32(59) + int32(65537) + 65537 * int32(0)):
            client = self.client()
            client.main.send(frame(request))
            self.assertTrue(client.is_disconnected(), request[:20])
        self.assert_serves()

    def test_a_frame_above_16_mib_closes_the_connection_when_its_length_arrives(self) -> None:
        client = self.client()
        client.main.send(int32(16 * 1024 * 1024 + 1))
        self.assertTrue(client.is_disconnected())

    def test_a_frame_of_16_mib_is_read(self) -> None:
        name_length = 16 * 1024 * 1024 - 8
        long_name = self.client().exchange(frame(int32(77) + int32(name_length) + name_length * b"x"))
        self.assertEqual(long_name, page["reply-refused"], "a text above 64 KiB is not stored")

    def test_a_request_with_an_array_has_at_most_256_kib(self) -> None:
        def presence_of(count: int) -> bytes:
            return frame(int32(98) + int32(count) + count * int32(1) + boolean(True))

        largest = (256 * 1024 - 9) // 4
        self.assertEqual(self.client().exchange(presence_of(largest)), page["reply-refused"], "no such sub-device")
        client = self.client()
        client.main.send(presence_of(largest + 1))
        self.assertTrue(client.is_disconnected())

    def test_a_document_of_one_mib_is_the_longest(self) -> None:
        def disable(size: int) -> bytes:
            document = '{"common_interface":5,"disable_signin":true,"more":""}'
            return frame(int32(102) + text(document[:-2] + "x" * (size - len(document)) + '"}'))

        self.assertEqual(self.client().exchange(disable(1024 * 1024)), page["common_interface-reply"])
        self.assertEqual(self.client().exchange(disable(1024 * 1024 + 1)), reply(text("{}"), result=-1))

    def test_the_members_of_a_document_have_any_order_and_further_ones_are_ignored(self) -> None:
        document = '{ "else": [], "disable_signin": true, "common_interface": 5 }'
        self.assertEqual(self.client().exchange(frame(int32(102) + text(document))), page["common_interface-reply"])

    def test_an_unknown_command_is_refused(self) -> None:
        document = '{"common_interface":7}'
        self.assertEqual(self.client().exchange(frame(int32(102) + text(document))), reply(text("{}"), result=-1))

    def test_the_end_of_one_link_ends_the_connection(self) -> None:
        client = self.client()
        client.main.close()
        self.assertTrue(client.callback.is_closed_by_peer())

    def test_a_peer_that_does_not_read_its_events_is_disconnected(self) -> None:
        client = self.client()
        client.exchange(frame(int32(72 - 1) + int32(19) + int32(1) + boolean(False)))
        nick = "n" * 60000
        for _ in range(200):
            if self.command(f'emit nick_changed_cb [0,"{nick}"]')["peers"] == 0:
                break
        else:
            self.fail("more than 11 MiB wait for the peer")
        self.assertTrue(client.main.is_closed_by_peer())


class OldAgent(VirtualAgent):
    options = ("--agent-version", "1.3")

    def test_a_method_of_a_later_version_has_its_out_values_and_minus_1(self) -> None:
        get_signin_status = frame(int32(88))
        self.assertEqual(self.client().exchange(get_signin_status), reply(boolean(False), result=-1))


if __name__ == "__main__":
    signal.signal(signal.SIGPIPE, signal.SIG_IGN)
    unittest.main()
