# SPDX-License-Identifier: Apache-2.0
"""docs/reference/codings.md, compared with the virtual agent: the values are expected as this test lists them, the agent sends
them, and the tables have no others."""

import json
import re
import struct
import unittest
from pathlib import Path
from typing import List

from agent_test import VirtualAgent
from wire import Client, boolean, frame, int32, reply, text

TREE = Path(__file__).parents[3]
PAGE = (TREE / "docs/reference/codings.md").read_text(encoding="utf-8")
HEADER = (TREE / "include/korvane.h").read_text(encoding="utf-8")
DONE = reply()
# For the name "washer"; its key was thrown away.
SIGNING_REQUEST = """-----BEGIN CERTIFICATE REQUEST-----
MIHKMHMCAQAwETEPMA0GA1UEAwwGd2FzaGVyMFkwEwYHKoZIzj0CAQYIKoZIzj0D
AQcDQgAEn4AatQeSRpsJCN+5/pSDAMqOJq3BjVpMjhD1zP2DMdjo9IgEw7sIEDzP
KU11kWTE2vV2BObqa5UOwZ6Wes7au6AAMAoGCCqGSM49BAMCA0cAMEQCIFYtjy5f
WOZG+V8Nuqe+Q66M0gHtoRDUhh6f1lVVlA2IAiA1940tv5lrB/MWo3JnmcxVs9Qt
uJK6+kWzkvhOpFRPrA==
-----END CERTIFICATE REQUEST-----
"""


def table(section: str) -> List[List[str]]:
    part = PAGE.split(f"\n## {section}\n")[1].split("\n## ")[0]
    rows = [[cell.strip() for cell in line.strip("|").split("|")] for line in part.splitlines() if line.startswith("|")]
    return rows[2:]


def values(section: str) -> List[int]:
    return [int(row[0]) for row in table(section)]


class Codings(VirtualAgent):
    def setUp(self) -> None:
        super().setUp()
        self.connection = self.client()
        self.sequence = 0

    def request(self, method: int, *arguments: bytes) -> bytes:
        """The reply's values and result."""
        return self.connection.exchange(frame(int32(method) + b"".join(arguments)))[8:]

    def register(self, method: int, *delegates: int) -> None:
        sent = []
        for delegate in delegates:
            self.sequence += 1
            sent.append(int32(delegate) + int32(self.sequence) + boolean(False))
        self.assertEqual(self.request(method, *sent), int32(0))

    def event(self) -> bytes:
        """The values of the next event."""
        return self.connection.callback.receive()[4 + 13:]

    def number(self) -> int:
        return struct.unpack("<i", self.event()[:4])[0]

    def one_shot_result(self, method: int, delegate: int, *arguments: bytes) -> int:
        self.sequence += 1
        self.assertEqual(self.request(method, *arguments, int32(delegate) + int32(self.sequence) + boolean(True)), int32(0))
        return self.number()

    def state(self, path: str) -> object:
        return self.command("state " + path)["state"]

    def start_with_phone(self) -> None:
        self.assertEqual(self.request(3, text(""), int32(0), int32(0)), int32(0))
        self.command("phone connect")

    def choose(self) -> None:
        self.command('phone choose {"ssid":"home","password":"secret","hidden":true}')

    def sign_up(self) -> None:
        self.request(102, text('{"common_interface":3,"access_token":"token"}'))
        self.command('wait {"method":"common_interface"} 5000 1')

    def test_setup_status(self) -> None:
        self.register(6, 1)
        self.register(64, 18)
        self.start_with_phone()
        self.assertEqual(self.number(), 1, "connected")
        self.command("phone leave")
        self.assertEqual(self.number(), 0, "waiting")
        self.command("phone connect")
        self.assertEqual(self.number(), 1)
        self.choose()
        self.assertEqual(self.next_status(), 2, "joining")
        self.command("phone join")
        self.assertEqual(self.next_status(), 3, "joined")
        self.command("phone finish")
        self.assertEqual(self.next_status(), 4, "set up")
        self.assertEqual(values("Setup status"), [0, 1, 2, 3, 4, 5])

    def next_status(self) -> int:
        """The next status; the event of the network may come before it."""
        while True:
            received = self.connection.callback.receive()
            if received[8:12] == int32(1):
                return struct.unpack("<i", received[17:21])[0]

    def test_a_failed_join_and_a_third_wrong_pin_fail_the_setup(self) -> None:
        self.register(6, 1)
        self.register(64, 18)
        self.start_with_phone()
        self.choose()
        self.assertEqual([self.next_status(), self.next_status()], [1, 2])
        self.assertEqual(self.request(50, int32(1)), int32(0))
        self.assertEqual(self.next_status(), 5)

    def test_each_line_of_the_state_diagram(self) -> None:
        names = ["waiting", "connected", "joining", "joined", "done", "failed"]
        picture = (TREE / "docs/images/setup-states.svg").read_text(encoding="utf-8")
        self.assertEqual(re.findall(r'class="name"[^>]*>(\d) (\w+)<', picture), [(str(i), name) for i, name in enumerate(names)])
        lines = [(source, target, by)
                 for sources, target, steps in re.findall(r'data-from="([^"]*)" data-to="([^"]*)" data-by="([^"]*)"', picture)
                 for source in sources.split() for by in steps.split()]
        self.assertEqual(len(lines), 22)

        self.register(6, 1)
        self.register(17, 5, 6)
        self.register(64, 18)
        steps = {"join": lambda: self.command("phone join"), "finish": lambda: self.command("phone finish"),
                 "connect": lambda: self.command("phone connect"), "leave": lambda: self.command("phone leave"),
                 "choose": self.choose, "error-code": lambda: self.request(50, int32(1)),
                 "wrong-pins": self.enter_three_wrong_pins, "reset": lambda: self.request(16)}
        ways = {"waiting": [], "connected": ["connect"], "joining": ["connect", "choose"],
                "joined": ["connect", "choose", "join"], "done": ["connect", "choose", "join", "finish"],
                "failed": ["connect", "choose", "error-code"]}
        self.request(3, text(""), int32(0), int32(0))
        for source, target, by in lines:
            self.request(16)
            for step in ways[source]:
                steps[step]()
            self.assertEqual(self.state("setup.stage"), source)
            steps[by]()
            self.assertEqual(self.state("setup.stage"), target, f"{by} in {source}")

    def enter_three_wrong_pins(self) -> None:
        self.command("phone pin")
        for _ in range(3):
            self.command('phone enter-pin {"pin":"wrong"}')

    def test_pin_value(self) -> None:
        self.start_with_phone()
        self.register(17, 5, 6)
        self.command("phone pin")
        seen = []
        for _ in range(3):
            event = self.event()
            self.assertRegex(event[4:12].decode(), r"\A\d{8}\Z")
            seen.append(struct.unpack("<i", event[12:16])[0])
            self.command('phone enter-pin {"pin":"wrong"}')
        self.assertEqual(seen, [3, 2, 1])
        self.assertEqual(values("PIN value"), seen)
        self.assertEqual(self.state("setup.stage"), "failed")

    def test_thing_status(self) -> None:
        self.assertEqual(self.request(84), int32(0) + int32(0))
        self.sign_up()
        self.assertEqual(self.request(84), int32(2) + int32(0), "signed in")
        self.command("cloud sign-out")
        self.assertEqual(self.request(84), int32(1) + int32(0), "signed up")
        self.assertEqual(values("Thing status"), [0, 1, 2])

    def test_sub_device_presence(self) -> None:
        self.request(41, int32(1), text("one"))
        self.assertIn(b'"prs":0', self.request(100))
        for present in (1, 0):
            self.assertEqual(self.request(98, int32(1) + int32(1), boolean(present == 1)), int32(0))
            self.assertIn(b'"prs":%d' % present, self.request(100))
        self.assertEqual(values("Sub-device presence"), [0, 1])

    def test_device_presence_is_stored_whatever_it_is(self) -> None:
        for presence in (0, 1, 7):
            self.assertEqual(self.request(66, int32(presence)), int32(0))
            self.assertEqual(self.state("cloud.presence"), presence)
        source = (TREE / "src/korvane/cloud/keepalive.cpp").read_text(encoding="utf-8")
        self.assertIn("(on: 0 / inactive: 1)", source)
        self.assertEqual([row[:2] for row in table("Device presence")], [["0", "on"], ["1", "inactive"]])

    def test_keep_alive(self) -> None:
        self.assertEqual(self.state("cloud.keep_alive.interval_s"), 60)
        self.assertEqual(self.request(68, int32(2) + int32(10) + int32(20)), int32(0))
        self.assertEqual(self.state("cloud.keep_alive.interval_s"), 10, "index 0")
        self.assertEqual(self.request(69, int32(1) + int32(1)), int32(0))
        self.assertEqual(self.state("cloud.keep_alive.interval_s"), 20)
        self.assertEqual(self.request(69, int32(1) + int32(2)), int32(-1))
        self.assertEqual(self.request(68, int32(1) + int32(0)), int32(0))
        self.assertEqual(self.state("cloud.keep_alive.interval_s"), 1)
        self.register(75, 21)
        self.sign_up()
        self.request(67)
        self.assertEqual(self.number(), 0)
        self.command('cloud keepalive {"result":9}')
        self.request(67)
        self.assertEqual(self.number(), 9)

    def test_session_end(self) -> None:
        self.register(93, 24)
        self.sign_up()
        self.assertEqual(self.request(97), int32(0))
        self.assertEqual(self.number(), 0)
        self.command("cloud sign-in")
        self.command("cloud drop-session")
        self.assertEqual(self.number(), -104)
        self.assertEqual(values("Session end"), [0, -104])

    def test_certificate_and_token_results(self) -> None:
        seen = [self.one_shot_result(103, 28),
                self.one_shot_result(105, 30, text("washer"), text("none")),
                self.one_shot_result(104, 29, text("washer"), text("no request"))]
        self.assertEqual(seen, [0, -2, -22])
        self.assertEqual(self.one_shot_result(108, 32, text("no object")), -22)
        for reason, result in (("expired", -127), ("revoked", -128)):
            certificate = self.new_certificate()
            self.assertEqual(self.one_shot_result(105, 30, text("washer"), text(certificate)), 0)
            self.command('cloud invalidate-certificates {"reason":"%s"}' % reason)
            seen.append(self.one_shot_result(105, 30, text("washer"), text(certificate)))
            self.assertEqual(seen[-1], result)
        self.assertEqual(values("Certificate and token results"), seen)

    def new_certificate(self) -> str:
        """The id of a certificate that the agent has issued."""
        self.sequence += 1
        delegate = int32(29) + int32(self.sequence) + boolean(True)
        self.assertEqual(self.request(104, text("washer"), text(SIGNING_REQUEST), delegate), int32(0))
        event = self.event()
        self.assertEqual(event[:4], int32(0))
        return json.loads(event[8:].rstrip(b"\0"))["certificate_arn"]

    def test_results_of_methods(self) -> None:
        self.assertEqual(self.one_shot_result(101, 27, text(""), int32(0), int32(0)), 0)
        self.assertEqual(self.request(97), int32(-1), "there is no session")
        self.assertEqual(values("Results of methods"), [0, -1])

    def test_the_names_on_the_page_are_those_that_the_programs_show(self) -> None:
        shown = {coding["title"]: coding["names"] for coding in self.command("describe")["codings"]}
        self.assertEqual(len(shown), 7)
        for title, names in shown.items():
            self.assertEqual(names, {row[0]: row[1] for row in table(title)}, title)
        with_names = set(re.findall(r"\n## ([^\n]+)\n(?:(?!\n## ).)*?\n\| value \| name \|", PAGE, re.DOTALL))
        self.assertEqual(with_names, set(shown))

    def test_texts(self) -> None:
        expected = {"language": "en-GB", "country": "GB", "datetime": "2026-01-01T12:00:00Z", "rmd": "phone"}
        self.start_with_phone()
        self.register(21, 8)
        self.command("phone provision")
        self.assertEqual(self.event()[:-len(text("user@example.org"))], b"".join(text(value) for value in expected.values()))
        for _, argument, meaning in table("Texts")[:4]:
            self.assertTrue(meaning.startswith(f"`{expected[argument.strip('`')]}`"), argument)

        self.register(60, 17)
        for accepted in ("true", "false"):
            self.command('phone accept-terms {"accepted":%s}' % accepted)
            self.assertEqual(self.event(), text('{"accepted":%s}' % accepted))
            self.assertIn('`{"accepted":%s}`' % accepted, table("Texts")[4][2])

        self.register(73, 20)
        self.request(40, int32(5), text("E1"))
        self.command("cloud last-status")
        self.assertEqual(self.event(), text('{"timestamp":5,"error_code":"E1"}'))

        self.register(23, 9)
        self.register(64, 18)
        self.command("phone scan")
        request = self.number()
        points = [{"ssid": "home", "bssid": "b%d" % i, "authtype": 1, "enctype": 2, "channel": 3, "signal_level": 4,
                   "max_rate": 5, "frequency": 6} for i in range(2)]
        document = json.dumps({"common_interface": 6, "req_id": request, "ap_list_array": points})
        self.assertEqual(self.request(102, text(document))[-4:], int32(0))
        self.command('phone choose {"index":0,"password":"secret"}')
        candidates = json.loads(json.loads(self.event()[4:])["ap_candidates"])
        self.assertEqual(candidates, points[1:])
        self.assertEqual(set(re.findall(r"`(\w+)`", table("Texts")[6][2])), set(points[0]))

    def test_the_functions_and_arguments_of_the_page_are_in_the_header(self) -> None:
        for name in re.findall(r"`(korvane_\w+)`", PAGE):
            self.assertRegex(HEADER, rf"\b{name}\)?\(", name)
        last = ""
        for row in table("Keep-alive") + table("Texts") + table("Values without a coding"):
            last = (re.findall(r"korvane_\w+", row[0]) or [last])[-1]
            declared = re.search(rf"(?:KORVANE_API int {last}|\(\*{last}\))\(([^;]*)\);", HEADER)
            self.assertRegex(declared.group(1), rf"\b{row[1].strip('`')}\b", last)


if __name__ == "__main__":
    unittest.main()
