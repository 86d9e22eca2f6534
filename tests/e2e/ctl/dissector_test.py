# SPDX-License-Identifier: Apache-2.0
"""The Wireshark dissector shows what `korvanectl trace` prints, for real traces and for hostile ones.

The programs are in the environment: CTL, AGENT, WASHER, SETUP (a scenario), TSHARK, DISSECTOR.
"""

import json
import os
import random
import re
import struct
import subprocess
import tempfile
import unittest

CTL, AGENT, WASHER, SETUP, TSHARK, DISSECTOR = (
    os.environ[name] for name in ("CTL", "AGENT", "WASHER", "SETUP", "TSHARK", "DISSECTOR")
)
TIMEOUT = 240
MAGIC = 0x3154564B
MAIN, CALLBACK = 0, 1


def run(*words):
    done = subprocess.run(words, capture_output=True, text=True, errors="surrogateescape", timeout=TIMEOUT, check=False)
    if done.returncode != 0:
        raise AssertionError(f"{words} ended with {done.returncode}: {done.stdout[-2000:]}{done.stderr}")
    return done


def packets_of(path, *options):
    """The layers of each packet. Fields that occur several times are lists."""
    done = run(TSHARK, "-r", path, "-X", f"lua_script:{DISSECTOR}", "-T", "json", "--no-duplicate-keys", *options)
    if "Lua" in done.stderr or "Lua" in done.stdout:
        raise AssertionError(f"the dissector has an error: {done.stderr}")
    return [packet["_source"]["layers"] for packet in json.loads(done.stdout)]


def flat(layer):
    """All fields of a layer and the items in it, by name."""
    fields = {}
    for name, value in layer.items():
        for one in value if isinstance(value, list) else [value]:
            if isinstance(one, dict):
                fields.update(flat(one))
        if not isinstance(value, dict):
            fields[name] = value
    return fields


def shown(packet):
    return flat(packet["korvane"])


def record(payload, link=MAIN, sent=1, port=5):
    return struct.pack("<IIqIIII", MAGIC, 4711, 1_700_000_000_000_000, len(payload), port, link, sent) + payload


def int32(*numbers):
    return b"".join(struct.pack("<i", number) for number in numbers)


def text(value):
    return struct.pack("<I", len(value)) + value


class Trace:
    """A trace in a file, as both programs show it."""

    def __init__(self, path):
        self.path = path
        self.pcapng = path + ".pcapng"
        self.objects = [json.loads(line) for line in run(CTL, "trace", "--json", "--read", path).stdout.splitlines()]
        run(CTL, "trace", "--read", path, "--pcapng", self.pcapng)
        self.packets = packets_of(self.pcapng)

    @classmethod
    def of(cls, path, records):
        with open(path, "wb") as file:
            file.write(b"".join(records))
        return cls(path)


class DissectorTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, name):
        return os.path.join(self.folder, name)

    def check_same(self, trace):
        self.assertEqual(len(trace.objects), len(trace.packets))
        for wanted, packet in zip(trace.objects, trace.packets):
            self.check_packet(wanted, packet)

    def check_packet(self, wanted, packet):
        fields = shown(packet)
        values = wanted.get("arguments", wanted.get("answer", wanted.get("values", {})))
        found = json.loads(fields["korvane.values"])
        is_good = "problem" not in wanted
        self.assertEqual(is_good or wanted["problem"] == "longer than it must be", "korvane.malformed" not in fields, (wanted, fields))
        self.assertEqual(list(values.items()), list(found.items()), wanted)
        for kind in ("request", "event"):
            self.assertEqual(wanted.get(kind), fields.get(f"korvane.{kind}"), wanted)
        self.assertEqual(wanted.get("reply"), fields.get("korvane.reply"), wanted)
        if not is_good:
            self.assertIn(f"[{wanted['problem']}, {wanted['bytes']} bytes]", fields["korvane.text"])
        self.assertEqual(f"{wanted['time_us'] / 1e6:.6f}", f"{float(packet['frame']['frame.time_epoch']):.6f}")
        if "duration_us" in wanted:
            self.assertEqual(wanted["duration_us"], round(1e6 * float(fields["korvane.duration"])))

    def setup_trace(self, version):
        path = self.path(f"setup-{version}")
        run(CTL, "run", "--quiet", "--agent-program", AGENT, "--agent-version", version, SETUP, "--",
            "env", f"KORVANE_TRACE={path}", WASHER, "--join-ms", "50")  # fmt: skip
        return Trace(path)

    def check_setup(self, version):
        trace = self.setup_trace(version)
        self.assertGreater(len(trace.packets), 40)
        self.check_same(trace)
        for packet in trace.packets:
            self.assertNotIn("korvane.malformed", shown(packet))
            self.assertNotIn("_ws.malformed", packet)
        without_time = [re.sub(r"^[\d:.]+  |  \(\d+ us\)$", "", line)
                        for line in run(CTL, "trace", "--read", trace.path).stdout.splitlines()]  # fmt: skip
        self.assertEqual(without_time, [shown(packet)["korvane.text"] for packet in trace.packets])
        self.assertNotIn("20260417", json.dumps(trace.packets))
        self.assertNotIn("laundry", json.dumps(trace.packets))
        plain = json.dumps(packets_of(trace.pcapng, "-o", "korvane.show_secrets:TRUE"))
        self.assertIn("20260417", plain)
        self.assertIn("laundry day", plain)
        return trace

    def test_setup_of_the_oldest_agent(self):
        trace = self.check_setup("1.0")
        self.assertEqual("0o600", oct(os.stat(trace.pcapng).st_mode & 0o777))
        fields = [shown(packet) for packet in trace.packets]
        start = next(one for one in fields if one.get("korvane.request") == "start")
        self.assertEqual(("3", "", "0", "0"), (start["korvane.id"], start["korvane.start.name"],
                                               start["korvane.start.mode"], start["korvane.start.flags"]))  # fmt: skip
        event = next(one for one in fields if one.get("korvane.event") == "wifi_ap_provisioning_cb")
        self.assertEqual("home", event["korvane.korvane_ap_info.ssid"])
        self.assertEqual("<secret, 11 bytes>", event["korvane.korvane_ap_info.pwd"])
        reply = next(one for one in fields if one.get("korvane.reply") == "is_update_ready")
        self.assertIn(reply["korvane.is_update_ready.is_ready"], ("0", False))
        self.assertEqual("0", reply["korvane.result"])

    def test_setup_of_the_newest_agent(self):
        fields = [shown(packet) for packet in self.check_setup("2.3").packets]
        event = next(one for one in fields if one.get("korvane.event") == "wifi_ap_prov_with_candidates_cb")
        self.assertEqual("home", event["korvane.document.ap_ssid"])
        self.assertEqual("<secret, 11 bytes>", event["korvane.document.ap_pwd"])

    def test_filters_find_values(self):
        trace = Trace.of(self.path("two"), [record(int32(3) + text(b"one") + int32(0, 0)), record(int32(4))])
        found = packets_of(trace.pcapng, "-Y", 'korvane.start.name == "one"')
        self.assertEqual(["start"], [shown(packet)["korvane.request"] for packet in found])

    def test_wrong_parcels_are_malformed(self):
        cases = {
            "empty": record(b""),
            "an id that is cut": record(b"\x03\0"),
            "arguments that are cut": record(int32(3) + b"\0"),
            "a text that is cut": record(int32(3) + struct.pack("<I", 0xFFFFFFFF) + b"x"),
            "a byte 0 in a text": record(int32(3) + text(b"a\0b") + int32(0, 0)),
            "a bool of 2": record(int32(10) + b"\2"),
            "an array without items": record(int32(59) + int32(65536)),
            "a negative count": record(int32(59) + int32(-1) + bytes(100)),
            "more items than the limit": record(int32(59) + int32(65537) + bytes(65537 * 4)),
            "a delegate of another type": record(int32(6) + int32(2, 1) + b"\0"),
            "an unknown method": record(int32(999)),
            "a reply without a request": record(int32(0, 0), sent=0, port=6),
            "another kind of reply": record(int32(7), sent=0),
            "an unknown event": record(int32(1, 99, 1) + b"\0", CALLBACK, sent=0),
            "an event that is cut": record(int32(1, 1), CALLBACK, sent=0),
            "another kind of event": record(int32(0), CALLBACK, sent=0),
        }
        trace = Trace.of(self.path("wrong"), cases.values())
        self.check_same(trace)
        for name, packet in zip(cases, trace.packets):
            self.assertIn("korvane.malformed", shown(packet), name)
            self.assertIn("cut short or malformed", shown(packet)["korvane.text"], name)

    def test_more_bytes_than_values(self):
        trace = Trace.of(self.path("longer"), [record(int32(4) + b"more")])
        self.check_same(trace)
        self.assertIn("[longer than it must be, 8 bytes]", shown(trace.packets[0])["korvane.text"])

    def test_parcels_beyond_the_limit_of_a_packet(self):
        long = record(int32(3) + text(b"x" * 300_000) + int32(0, 0))
        trace = Trace.of(self.path("long"), [long, record(int32(0, 0), sent=0), record(int32(4))])
        fields = [shown(packet) for packet in trace.packets]
        self.assertEqual("->  start()  [only the beginning was captured, 300016 bytes]", fields[0]["korvane.text"])
        self.assertNotIn("korvane.malformed", fields[0])
        self.assertEqual(["<-  start: result 0", "->  stop()"], [one["korvane.text"] for one in fields[1:]])

    def test_replies_belong_to_the_requests_of_their_port(self):
        ports = [record(int32(3) + text(b"") + int32(0, 0), port=5), record(int32(4), port=6),
                 record(int32(0, -1), sent=0, port=5), record(int32(0, 0), sent=0, port=6)]  # fmt: skip
        trace = Trace.of(self.path("ports"), ports)
        self.check_same(trace)
        self.assertEqual(["start", "stop"], [shown(packet)["korvane.reply"] for packet in trace.packets[2:]])
        self.assertEqual(["1", "2"], [shown(packet)["korvane.request_in"] for packet in trace.packets[2:]])

    def test_documents_of_every_shape(self):
        documents = [
            b"", b"{}", b"[]", b"null", b"{", b'{"ap_ssid"}', b'{"a":1} x', b'{"ap_ssid":"x","ap_pwd":"hidden"}',
            b'{"ap_pwd":{"a":[1,2.5,true,null,"x"]},"ap_ssid":["list"],"other":"hidden","other2":12}',
            b'{"ap_ssid":"\\u00e9\\ud83d\\ude00\\n\\"","ap_authtype":1e3,"ap_channel":-0.5,"ap_ssid":"again"}',
            b'{"ap_ssid":"\xff\xfe"}', b"{" + b'"a":{' * 300 + b"}" * 301, b'{"ap_ssid":"' + b"x" * 5000 + b'"}',
            b'{"ap_ssid":"\\ud800"}', b'{"ap_ssid":tru}', b'{"ap_ssid":"x",}',
        ]  # fmt: skip
        event = int32(1, 18, 1) + b"\0"
        trace = Trace.of(self.path("documents"), [record(event + text(one), CALLBACK, sent=0) for one in documents])
        self.check_same(trace)
        self.assertNotIn("hidden", json.dumps(trace.packets))
        commands = [b'{"common_interface":5,"disable_signin":true}', b'{"common_interface":77,"x":"hidden"}', b"{}",
                    b'{"common_interface":3,"region":"EU","access_token":"hidden"}',
                    b'{"common_interface":6,"ap_list_array":[{"ssid":"home","secret":"hidden"},7],"req_id":1}']  # fmt: skip
        trace = Trace.of(self.path("commands"), [record(int32(102) + text(one)) for one in commands])
        self.check_same(trace)
        self.assertNotIn("hidden", json.dumps(trace.packets))

    def test_hostile_traces(self):
        """Every parcel of a setup, with bytes changed, cut off and added: both programs read the same values."""
        chance = random.Random(20260417)
        with open(self.setup_trace("2.3").path, "rb") as file:
            trace = file.read()
        records, at = [], 0
        while at < len(trace):
            head = struct.unpack_from("<IIqIIII", trace, at)
            payload = bytearray(trace[at + 32 : at + 32 + head[3]])
            at += 32 + head[3]
            for _ in range(chance.randrange(4)):
                if payload:
                    payload[chance.randrange(len(payload))] = chance.choice((0, 1, 2, 0x7F, 0x80, 0xFF, 0x22, 0x7B))
            payload = payload[: chance.randrange(len(payload) + 1)] if chance.random() < 0.3 else payload
            records.append(record(bytes(payload), head[5], head[6], head[4]))
        hostile = Trace.of(self.path("hostile"), records)
        self.check_same(hostile)
        self.assertTrue(any("problem" in one for one in hostile.objects))

    def test_command_line(self):
        with open(self.path("trace"), "wb") as file:
            file.write(record(int32(4)))
        done = subprocess.run([CTL, "trace", "--read", self.path("trace"), "--pcapng", "-"], capture_output=True, check=True)
        self.assertEqual(b"\n\r\r\n", done.stdout[:4])
        self.assertIn(f"{self.path('out')}: 1 parcels",
                      run(CTL, "trace", "--read", self.path("trace"), "--pcapng", self.path("out")).stdout)  # fmt: skip
        done = subprocess.run([CTL, "trace", "--read", self.path("trace"), "--pcapng", "/dev/full"], capture_output=True,
                              text=True, check=False)  # fmt: skip
        self.assertEqual((1, True), (done.returncode, "cannot write /dev/full" in done.stderr))


if __name__ == "__main__":
    unittest.main()
