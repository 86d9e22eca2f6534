# SPDX-License-Identifier: Apache-2.0
"""Writes the first inputs of corpus/: one well-formed event per delegate type, one well-formed reply per kind of out, one
request per kind of argument."""
import pathlib, struct

HERE = pathlib.Path(__file__).parent / "corpus"
i32 = lambda v: struct.pack("<i", v)
flag = lambda v: bytes([v])
text = lambda t: i32(len(t)) + t.encode()
ap_info = text("home") + text("hunter2!") + i32(4) + i32(3) + i32(6) + text("aa:bb") + i32(-40) + i32(54)
prov = text("en") + text("GB") + text("2026-01-01") + text("phone") + text("me")
VALUES = {1: i32(3), 2: b"", 3: b"", 4: flag(1), 5: text("1234") + i32(1), 6: b"", 7: ap_info, 8: prov, 9: i32(5), 10: b"",
          11: text("1234") + i32(1), 12: b"", 13: i32(2) + text("a") + text("b"), 14: i32(1), 15: i32(1) + text("v"),
          16: i32(1) + text("language") + text("en"), 17: text("ok"), 18: text('{"ap_ssid":"home"}'), 19: i32(1) + text("attic"),
          20: text("fine"), 21: i32(0), 22: flag(1), 23: flag(0), 24: i32(9), 25: text("wifi") + i32(2), 26: text("group"),
          27: i32(0), 28: i32(0) + text("{}"), 29: i32(0) + text("pem"), 30: i32(0) + text("pem") + text("key"),
          31: i32(1) + text("log"), 32: i32(0) + text("{}")}
REPLIES = {3: b"", 2: flag(1), 28: text("0b5e6d5c-0000-4000-8000-000000000000"), 84: i32(4), 102: text("{}")}

for number, values in VALUES.items():
    for once in (0, 1):
        seq = 2 * number - 1 + once
        (HERE / "events" / f"delegate_{number}_{'once' if once else 'lasting'}").write_bytes(
            i32(1) + i32(number) + i32(seq) + flag(once) + values)
(HERE / "events" / "array_count_2147483647").write_bytes(i32(1) + i32(13) + i32(25) + flag(0) + i32(2147483647))
(HERE / "events" / "array_count_negative").write_bytes(i32(1) + i32(13) + i32(25) + flag(0) + i32(-1))
(HERE / "events" / "string_length_2147483647").write_bytes(i32(1) + i32(17) + i32(33) + flag(0) + i32(2147483647))
(HERE / "events" / "unknown_delegate_33").write_bytes(i32(1) + i32(33) + i32(1) + flag(0))
(HERE / "events" / "kind_0").write_bytes(i32(0) + i32(1) + i32(1) + flag(0) + i32(3))
frame = lambda parcel: bytes([len(parcel)]) + parcel
for method, outs in REPLIES.items():
    good = i32(0) + outs + i32(0)
    (HERE / "replies" / f"method_{method}").write_bytes(bytes([method]) + frame(good))
    (HERE / "replies" / f"method_{method}_after_other_kinds").write_bytes(
        bytes([method]) + frame(i32(1)) + frame(b"") + frame(i32(7) + outs) + frame(good))

REQUESTS = {3: text("") + i32(0) + i32(0), 10: flag(1), 17: i32(5) + i32(1) + flag(0) + i32(6) + i32(2) + flag(0),
            25: i32(9) + i32(2) + ap_info + ap_info, 32: text("eu") + text("p") + text("a") + text("r") + text("u") + text("c"),
            37: text("model") + text("1.0"), 40: i32(17) + text("E1"), 59: i32(2) + text("en") + text("de"),
            68: i32(3) + i32(60) + i32(120) + i32(240), 69: i32(1) + i32(2), 79: text("name") + i32(1) + i32(2),
            98: i32(2) + i32(1) + i32(2) + flag(1), 101: text("") + i32(0) + i32(0) + i32(27) + i32(1) + flag(1),
            102: text('{"common_interface":6}')}
for method, arguments in REQUESTS.items():
    (HERE / "requests" / f"method_{method}").write_bytes(i32(method) + arguments)
(HERE / "requests" / "array_count_2147483647").write_bytes(i32(59) + i32(2147483647) + text("en"))
(HERE / "requests" / "delegate_of_another_type").write_bytes(i32(6) + i32(9) + i32(1) + flag(0))
