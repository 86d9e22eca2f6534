# SPDX-License-Identifier: Apache-2.0
"""Writes the first inputs of corpus/, which are well formed by construction: one event per delegate type, one reply per kind of
out, one request per kind of argument, one record, document, file, message or conversation of each kind. The names of these
inputs are words; inputs that a fuzzer found have hashes as names."""
import json, pathlib, struct

HERE = pathlib.Path(__file__).parent / "corpus"


def store(target, name, content):
    folder = HERE / target
    folder.mkdir(parents=True, exist_ok=True)
    (folder / name).write_bytes(content if isinstance(content, bytes) else content.encode())


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

# Records, arrays and values of events: the number of the kind, then the parcel.
cloud_info = text("eu") + text("p") + text("a") + text("r") + text("u") + text("c")
RECORDS = [ap_info, i32(60), i32(1), prov, text("en"), text("lamp"), i32(9) + text("E1"), text("model") + text("1.0"), cloud_info]
ARRAYS = [i32(2) + i32(1) + i32(2), i32(1) + ap_info, i32(2) + text("en") + text("de"), i32(1) + i32(60), i32(1) + i32(0),
          i32(2) + text("lamp") + text("fan")]
for number, parcel in enumerate(RECORDS + ARRAYS + [VALUES[number] for number in sorted(VALUES)]):
    store("records", f"kind_{number}", bytes([number]) + parcel)
store("records", "array_count_2147483647", bytes([len(RECORDS) + 1]) + i32(2147483647) + ap_info)

# Documents: those that the library reads behind their number and that of the agent, those that tools show behind their number.
ap = {"ap_ssid": "home", "ap_pwd": "hunter2!", "ap_authtype": 2, "ap_enctype": 3, "ap_channel": 6, "ap_bssid": "aa:bb",
      "ap_candidates": "[]"}
found = {"ssid": "home", "bssid": "aa:bb", "authtype": 2, "enctype": 3, "channel": 6, "signal_level": -40, "max_rate": 54,
         "frequency": 2437}
token = {"uuid": "u-1", "server_name": "cloud", "server_url": "https://cloud", "expiration_time": 1800000000,
         "access_token": "t-1"}
header = {f"tcp_header_info_{key}": value for key, value in {
    "ip_version": 4, "src_addr": "10.0.0.2", "src_port": 40000, "dst_addr": "10.0.0.1", "dst_port": 443, "seq_num": 1,
    "ack_num": 2, "window": 502, "window_scale": 7}.items()}
presence = {"di": "lamp", "prs": 1}
READ = [ap, token, token, header, [presence, presence], {"push": 1}, {"device_no": 1}]
for number, document in enumerate(READ):
    for agent in range(6):
        store("documents", f"document_{number}_agent_{agent}", bytes([number, agent]) + json.dumps(document).encode())
    store("documents", f"document_{number}_cut", bytes([number, 5]) + json.dumps(document)[:-1].encode())
SHOWN = [ap, found, {"model_number": "WM-6", "p_ver": "1", "vid": "v", "mf_date": "2026", "f_ver": "2"},
         {"nick": "attic", "locale": "en", "pushregid": "p-1", "pushappid": "a", "pushprovider": "x", "sn": "1"},
         {"tnc_version": "1", "tnc_header": "h"}, header, presence, token,
         {"common_interface": 1, "device_no": 1, "device_type": "lamp"}, {"common_interface": 2, "custom_push_msg": {"a": [1]}},
         {"common_interface": 3, "region": "eu", "access_token": "t", "refresh_token": "r", "user_id": "u", "iatt": 1},
         {"common_interface": 4, "dev_name": "n", "wifi_mode": 1, "wifi_freq": 2, "wifi_authtype": [1, 2]},
         {"common_interface": 5, "disable_signin": True}, {"common_interface": 6, "req_id": 1, "ap_list_array": [found]}]
for number, document in enumerate(SHOWN):
    store("masks", f"document_{number}", bytes([number]) + json.dumps(document).encode())
store("masks", "unknown_command", bytes([8]) + b'{"common_interface":77,"access_token":"t"}')

# Links: the end under test and whether the handshake precedes, then actions of the other end: an action and, with the
# application under test, whether a call follows.
short = lambda content: bytes([len(content)]) + content
handshake = lambda link: i32(29 + 4) + b"VKPL" + i32(1) + bytes([link]) + b"t" * 16 + text("seed")
reply = i32(12) + b"VKPR" + i32(1) + i32(0)
request = i32(2)
store("links", "stub_request", bytes([3, 2]) + short(request))
store("links", "stub_requests_in_one_piece", bytes([3, 0]) + short(2 * (i32(4) + request)))
store("links", "stub_handshake_in_pieces", bytes([1, 0]) + short(handshake(0)[:9]) + bytes([1]) + short(handshake(1)) +
      bytes([0]) + short(handshake(0)[9:]) + bytes([2]) + short(request))
store("links", "stub_long_frames", bytes([3]) + bytes([4, 255]) * 40)
store("links", "stub_end_of_link", bytes([3, 2]) + short(request) + bytes([7]))
store("links", "stub_frame_of_4_gib", bytes([3, 0]) + short(b"\xff\xff\xff\xff"))
store("links", "proxy_event", bytes([2, 3]) + short(i32(1) + i32(1) + i32(1) + flag(0) + i32(3)) + bytes([0]))
store("links", "proxy_reply", bytes([2, 2]) + short(i32(0) + flag(1) + i32(0)) + bytes([1]))
store("links", "proxy_handshake_in_pieces", bytes([0, 0]) + short(reply[:5]) + bytes([0, 0]) + short(reply[5:]) +
      bytes([0, 3]) + short(i32(1)) + bytes([1]))
store("links", "proxy_refused", bytes([0, 0]) + short(reply[:12] + i32(-13)) + bytes([0]))
store("links", "proxy_end_of_link", bytes([2, 6, 1, 7, 1]))

# Package entries.
store("packages", "entry", "[Package]\nVersion=2.3.1\nExecutable=/usr/bin/true\nArguments=--x\nGroup=staff\n")
store("packages", "comments", "# one\n\n[Other]\na=b\n[Package]\nVersion[de]=1\nVersion=1.4\n")
store("packages", "without_version", "[Package]\nExecutable=/bin/true\n")
store("packages", "escapes", "[Package]\nVersion=\\s2\\n\\t.3\\\\\n")
store("packages", "not_utf_8", b"[Package]\nVersion=\xff\xfe\n")

# Bundles: entries with a key, a type and a value.
entry = lambda key, kind, value: short(key) + bytes([kind]) + value
several = bytes([3]) + short(b"a") + short(b"") + short(b"c")
store("bundles", "every_type", b"\0" + entry(b"s", 0, short(b"text")) + entry(b"as", 1, several) +
      entry(b"ay", 2, short(b"\1\2\0")) + entry(b"i", 3, b"\7") + entry(b"d", 5, b"") + entry(b"st", 6, b"") +
      entry(b"ab", 7, b""))
store("bundles", "key_twice", b"\0" + 2 * entry(b"Install", 0, short(b"agent")))
store("bundles", "update_start", b"\0" + entry(b"Start", 1, several))
store("bundles", "not_a_dictionary", b"\xfftext")
store("bundles", "many_entries", b"\0" + b"".join(entry(b"%d" % n, 0, b"\0") for n in range(300)))

# Commands: lines of text.
COMMANDS = {
    "state": "state\nstate setup.networks.#\nstate cloud\n", "journal": 'journal 1 10 {"method":"start"}\ncount\nclear\n',
    "wait": 'wait {"method":"start"} 1 1\nwait\n', "describe": "describe\nhelp\n",
    "emit": 'emit status_changed_cb [2]\nemit wifi_ap_prov_with_candidates_cb [{"ap_ssid":"home"}]\nemit pin_generate_cb\n',
    "fault": "fault start result -1\nfault all delay 10 2\nfault start die 0 0\n", "clock": "clock stop\nclock advance 60000\nclock run\n",
    "phone": "personality fresh-device\nphone connect\nphone confirm\nphone pin {\"pin\":\"1234\"}\nphone enter-pin {\"pin\":\"1234\"}\n"
             "phone scan\nphone choose {\"ssid\":\"home\",\"hidden\":true,\"password\":\"x\"}\nphone join\nphone provision\nphone finish\n",
    "cloud": 'cloud own {"owner":"ann"}\ncloud next-sign-up {"outcome":"fail","after_ms":5}\ncloud device-list {"devices":["a"]}\n'
             'cloud keepalive {"result":1}\ncloud last-status {"text":{}}\ncloud diagnostics {"value":1,"text":"x"}\ncloud disown\n',
    "personalities": "personality owned-and-signed-in\npersonality old-agent-1.2\npersonality under-update\nsnapshot\n",
    "restore": 'restore {"running":true,"setup":{"stage":1}}\nreset\n', "update_ready": "update ready on\nupdate ready off\n",
    "play": 'play {"steps":[{"say":"x"},{"phone":"connect"},{"wait_ms":5}]}\nstate play\nstop-play\n',
}
for name, lines in COMMANDS.items():
    store("commands", name, lines)

# Scenarios: files.
steps = lambda *steps: json.dumps({"title": "seed", "note": "n", "steps": list(steps)}, indent=1)
store("scenarios", "every_kind", steps(
    {"say": "x", "note": "y"}, {"wait_ms": 0}, {"until": {"running": False, "setup.networks.#": {"at_least": 0}}},
    {"expect": "start", "with": {"name": ""}, "answer": {"result": 0}, "within_ms": 1}))
store("scenarios", "commands", steps(
    {"emit": "status_changed_cb", "values": [2]}, {"fault": "start", "form": "result", "value": -1}, {"clock": "stop"},
    {"clock": "advance", "ms": 5}, {"cloud": "own", "with": {"owner": "ann"}}, {"restore": {"running": True}},
    {"phone": "connect"}, {"personality": "fresh-device"}, {"snapshot": {}}))
store("scenarios", "versions", steps({"say": "old", "before": "2.0"}, {"say": "new", "since": "2.0"}))
store("scenarios", "never_and_functions", json.dumps({"$schema": "x", "since": "1.0", "steps": [
    {"never": "reset"}, {"expect": "korvane_start", "not_before_ms": 0, "within_ms": 1}]}))
store("scenarios", "expected_secret", steps({"expect": "set_preconfigured_pin", "with": {"pin": {"not": "1"}}, "within_ms": 1}))
store("scenarios", "variables", json.dumps({"variables": {"a": "x", "b": "${a}$${", "n": 5, "list": [{"say": "${a}"}]}, "steps": [
    {"say": "<${b}>"}, {"wait_ms": "${n}"}, {"phone": "choose", "with": {"ssid": "${a}", "index": "${n}"}}]}))
store("scenarios", "wrong_variables", json.dumps({"variables": {"a": {}}, "steps": [{"say": "<${a}"}]}))
store("scenarios", "any_order", steps({"any_order": [{"say": "a"}, [{"say": "b"}, {"kill": True}], {"any_order": [{"restart": True}]}]}))
store("scenarios", "include", steps({"include": "part.json", "with": {"a": 1}}))
store("scenarios", "line_of_a_mistake", '{"steps":[\n{"say":"a"},\n{"wait_ms":}]}')

# Snapshots, filters and traces.
store("snapshots", "empty", "{}")
store("snapshots", "setup", json.dumps({"running": True, "setup": {
    "stage": 2, "last_request": 1, "scan": 1, "networks": [{"ssid": "home"}], "chosen": {"ssid": {"base64": "aGk="}},
    "pin": {"kind": 0, "text": "1234", "tries_left": 2}, "language_requests": {"3": {"type": "t", "value": "v"}},
    "settings": {"language": "en"}, "property": {"name": "n", "auth_types": [1]}, "languages": ["en"]}}))
store("snapshots", "cloud", json.dumps({"signed_up": True, "signed_in": True, "owned": True, "cloud": {
    "credentials": {"access_token": "t"}, "owner": "ann", "keep_alive": {"intervals": [60, 120], "selected": [1]},
    "presence": 1, "last_status": {"timestamp": 1, "error_code": "E"}, "terms": {"data": "{}", "url": "u", "type": 1},
    "profiles": {"0": "{}"}, "last_requests": {"sign_up": [{}]}}, "nicks": {"1": "a"},
    "sub_devices": {"1": {"device_id": "lamp", "presence": 1}}, "last_requests": {"3": "x"}}))
entry = '{"seq":1,"method":"start","arguments":{"name":"","list":[1,2]},"answer":{"result":0}}'
for name, filter in {"equal": '{"method":"start"}', "nested": '{"answer":{"result":{"at_least":0}}}',
                     "conditions": '{"seq":{"at_most":1},"method":{"contains":"sta"},"event":{"any":false}}',
                     "not": '{"arguments":{"list":{"not":[1]}}}', "array": '{"arguments":{"list":[1,{"any":true}]}}'}.items():
    store("filters", name, f"{filter}\n{entry}\narguments.list.#\n")
store("filters", "path", f"{{}}\n{entry}\narguments.list.1\n")
record = lambda link, sent, parcel: struct.pack("<IIqIIII", 0x3154564B, 7, 1, len(parcel), 9, link, sent) + parcel
call = record(0, 1, i32(2)) + record(0, 0, i32(0) + flag(1) + i32(0))
store("traces", "call", b"\xff" + call)
store("traces", "call_in_pieces", b"\0" + call)
store("traces", "agents_side", b"\xff" + record(2, 0, i32(33) + text("1234")) + record(2, 1, i32(0) + i32(0)))
for number, values in VALUES.items():
    store("traces", f"event_{number}", b"\xff" + record(1, 0, i32(1) + i32(number) + i32(5) + flag(0) + values))
for method, arguments in REQUESTS.items():
    store("traces", f"request_{method}", b"\xff" + record(0, 1, i32(method) + arguments))
store("traces", "cut", b"\xff" + call[:-3])
store("traces", "wrong_mark", b"\xff" + b"x" * 40)

# Recordings: how many bytes arrive at once, then pieces: link and end, and a short text.
def frame_of_port(parcel):
    return struct.pack("<I", len(parcel)) + parcel
def piece(link, from_agent, data):
    return b"".join(bytes([link + 2 * from_agent, len(data[at : at + 255])]) + data[at : at + 255] for at in range(0, len(data), 255))
def hand(link):
    return piece(link, 0, frame_of_port(b"VKPL" + i32(1) + bytes([link]) + bytes(16) + text("x")))
accepted = hand(0) + hand(1) + piece(0, 1, frame_of_port(b"VKPR" + i32(1) + i32(0)))
reply = lambda *values: piece(0, 1, frame_of_port(i32(0) + b"".join(values) + i32(0)))
exchange = piece(0, 0, frame_of_port(i32(2))) + reply(flag(1))
store("recordings", "call", b"\xff" + accepted + exchange)
store("recordings", "call_in_pieces", b"\0" + accepted + exchange)
store("recordings", "refused", b"\xff" + hand(0) + piece(0, 1, frame_of_port(b"VKPR" + i32(1) + i32(-13))))
store("recordings", "no_handshake", b"\xff" + exchange)
store("recordings", "long_frame", b"\xff" + accepted + piece(0, 0, b"\xff" * 8) + exchange)
store("recordings", "wrong_link", b"\xff" + accepted + piece(1, 0, frame_of_port(i32(2))) + piece(0, 1, frame_of_port(i32(1))))
store("recordings", "end_of_the_agent", b"\xff" + accepted + exchange + b"\4\0" + accepted + exchange)
for number, values in VALUES.items():
    store("recordings", f"event_{number}", b"\xff" + accepted + piece(1, 1, frame_of_port(i32(1) + i32(number) + i32(5) + flag(0) + values)))
for method, arguments in REQUESTS.items():
    store("recordings", f"request_{method}", b"\xff" + accepted + piece(0, 0, frame_of_port(i32(method) + arguments)) + reply())

# HTTP: whether the connection becomes a WebSocket, then pieces of bytes.
get = lambda target: f"GET {target} HTTP/1.1\r\nHost: agent\r\n\r\n".encode()
def post(command, body):
    return f"POST /v1/{command} HTTP/1.1\r\nHost: agent\r\nContent-Length: {len(body)}\r\n\r\n{body}".encode()
for name, bytes_of_client in {
        "overview": get("/v1"), "state": get("/v1/state?path=setup.stage"), "filter": get("/v1/journal?filter=%7B%7D&since=1"),
        "page": get("/index.html"), "missing": get("/v1/none"), "two_requests": get("/v1/count") + get("/v1/count"),
        "fault": post("fault", '{"method":"start","form":"result","value":-1}'), "malformed": post("emit", "{"),
        "held": post("wait", '{"within_ms":1}'), "without_length": b"POST /v1/clear HTTP/1.1\r\nHost: agent\r\n\r\n",
        "malformed_length": b"POST /v1/emit HTTP/1.1\r\nHost: agent\r\nContent-Length: 1f\r\n\r\n{",
        "stream_without_upgrade": get("/v1/stream"), "cut": get("/v1")[:20]}.items():
    store("http", name, b"\0" + short(bytes_of_client))
store("http", "request_in_pieces", b"\0" + b"".join(short(bytes([one])) for one in get("/v1/count")))
frame_of = lambda opcode, payload: bytes([0x80 | opcode, 0x80 | len(payload)]) + bytes(4) + payload
for name, frames in {"text": frame_of(1, b"hello"), "ping": frame_of(9, b"x"), "close": frame_of(8, b"\x03\xe8"),
                     "unmasked": b"\x81\x01x", "fragments": b"\x01\x81\0\0\0\0a" + frame_of(0, b"b"),
                     "long": b"\x81\xff" + b"\0\0\0\0\0\1\0\1" + bytes(4)}.items():
    store("http", f"stream_{name}", b"\1" + short(frames))

# Conversations: the agent, then steps.
call_step = lambda number: bytes([0, number >> 8, number & 255])
for number in range(0, 179):
    store("conversations", f"call_{number}", bytes([8]) + call_step(number))
for event in range(32):
    store("conversations", f"event_{event}", bytes([10]) + b"".join(call_step(n) for n in range(20, 60)) + bytes([3, event, 2]))
store("conversations", "disconnect", bytes([10]) + call_step(6) + bytes([4]) + call_step(7) + bytes([5, 1]) + call_step(7))
store("conversations", "update", bytes([10, 7, 0, 0, 7, 1, 1]) + call_step(7) + bytes([4, 7, 2, 1, 5, 1]) + call_step(7))
store("conversations", "inside_a_call", bytes([10, 6, 0, 0]) + call_step(7) + bytes([6, 1, 1, 3, 2]) + call_step(8))
store("conversations", "other_agent", bytes([0, 8, 9]) + call_step(50) + bytes([8, 0]) + call_step(50))
