# SPDX-License-Identifier: Apache-2.0
"""Blocks about the virtual agent, korvanectl and scenarios: commands are run, output is compared."""

import base64
import json
import os
import pty
import re
import socket
import subprocess
import unittest
from typing import Any, List

from blocks import TREE, Block, shows
from sandbox import Sandbox, eventually

TREE_AGENT = TREE / "agent"
START = '{"title": "start", "steps": [{"expect": "start", "answer": {"result": 0}}]}'


def shape(value: Any) -> Any:
    """A JSON value with the types of its numbers and texts instead of them."""
    if isinstance(value, dict):
        return {name: shape(member) for name, member in value.items()}
    return type(value).__name__


def pattern(text: str) -> str:
    """A regular expression for a text with other numbers."""
    return re.sub(r"\\?\d+", r"\\d+", re.escape(text))


def device(sandbox: Sandbox, name: str) -> None:
    """Makes an application that starts its service."""
    (sandbox.home / name).write_text("#!/bin/sh\nexec korvanectl call --wait 1 start\n", encoding="utf-8")
    (sandbox.home / name).chmod(0o755)


class Output(unittest.TestCase):
    @shows(("docs/agent.md", "korvane-agent 2.3 is ready"))
    def test_the_agent_prints_a_sentence_on_a_terminal(self, block: Block) -> None:
        with Sandbox() as sandbox:
            ours, theirs = pty.openpty()
            agent = subprocess.Popen([str(sandbox.home / "bin/korvane-agent")], env=sandbox.environment(), stdout=theirs,
                                     stderr=subprocess.DEVNULL)
            try:
                self.assertRegex(os.read(ours, 200).decode(), pattern(block.text))
            finally:
                agent.terminate()
                agent.wait()

    @shows(("docs/agent.md", "13:06:04.681418  first-device"))
    def test_verbose_prints_such_lines(self, block: Block) -> None:
        with Sandbox() as sandbox:
            sandbox.start_agent("--verbose")
            sandbox.run("first-device")
            log = sandbox.home / "agent.log"
            self.assertTrue(eventually(lambda: "start(" in log.read_text(encoding="utf-8")))
            self.assertRegex(log.read_text(encoding="utf-8"), f"(?m)^{pattern(block.text)}$")

    @shows(("docs/agent.md", '{"seq":7'))
    def test_the_journal_has_such_entries(self, block: Block) -> None:
        with Sandbox() as sandbox:
            sandbox.start_agent("--log", str(sandbox.home / "journal"))
            sandbox.run("first-device")
            found: List[str] = []

            def is_logged() -> bool:
                found[:] = [line for line in (sandbox.home / "journal").read_text().split("\n") if '"method":"start"' in line]
                return bool(found)

            self.assertTrue(eventually(is_logged))
            shown, logged = json.loads(block.text), json.loads(found[0])
            self.assertEqual(shape(shown), shape(logged))
            self.assertEqual(list(shown), list(logged))
            for member in ("method", "id", "arguments", "answer"):
                self.assertEqual(shown[member], logged[member])

    @shows(("docs/agent.md", '{"certificate_arn"'))
    def test_a_certificate_has_these_members(self, block: Block) -> None:
        sources = "".join(file.read_text(encoding="utf-8") for file in TREE_AGENT.rglob("*.cpp"))
        for member in json.loads(block.text):
            self.assertIn(f'"{member}"', sources)


class Http(unittest.TestCase):
    @shows(("docs/agent.md", '{"pid":4711'))
    def test_control_json_has_these_members(self, block: Block) -> None:
        with Sandbox() as sandbox:
            sandbox.start_agent("--http", "0")
            written = json.loads((sandbox.runtime / "control.json").read_text(encoding="utf-8"))
            self.assertEqual(shape(json.loads(block.text)), shape(written))

    @shows(("docs/console.md", "korvane-agent --http 8080"))
    def test_the_option_writes_the_address(self, block: Block) -> None:
        program, option, port, *_ = block.text.split()
        self.assertEqual((program, port), ("korvane-agent", "8080"))
        with Sandbox() as sandbox:
            sandbox.start_agent(option, "0")
            self.assertIn('"port":', (sandbox.runtime / "control.json").read_text(encoding="utf-8"))

    @shows(("docs/agent.md", "curl --unix-socket"))
    def test_the_socket_serves_requests(self, block: Block) -> None:
        with Sandbox() as sandbox:
            sandbox.start_agent()
            printed = sandbox.run(block.text.replace("curl ", "curl --silent --fail "))
            self.assertIn('"version":"2.3"', printed)
            self.assertIn('"ok":true', printed.replace(" ", ""))
            self.assertIn("failed", sandbox.run("korvanectl call start 2>&1 || echo failed"))

    @shows(("docs/agent.md", "curl -H"))
    def test_the_port_serves_requests_with_a_token(self, block: Block) -> None:
        with Sandbox() as sandbox:
            sandbox.start_agent("--http", "0")
            http = json.loads((sandbox.runtime / "control.json").read_text(encoding="utf-8"))["http"]
            command = block.text.replace("8080", str(http["port"])).replace("curl ", "curl --silent --fail ")
            self.assertIn('"ok":true', sandbox.run(f"TOKEN={http['token']}\n{command}").replace(" ", ""))

    @shows(("docs/agent.md", "ws://127.0.0.1:8080"))
    def test_the_stream_has_this_address(self, block: Block) -> None:
        path = re.fullmatch(r"ws://127\.0\.0\.1:8080(/\S+&token=)1f348f\.\.\.", block.text)
        assert path
        with Sandbox() as sandbox:
            sandbox.start_agent("--http", "0")
            http = json.loads((sandbox.runtime / "control.json").read_text(encoding="utf-8"))["http"]
            with socket.create_connection(("127.0.0.1", http["port"]), timeout=60) as stream:
                key = base64.b64encode(b"0123456789abcdef").decode()
                stream.sendall(f"GET {path[1]}{http['token']} HTTP/1.1\r\nHost: 127.0.0.1:{http['port']}\r\n"
                               "Upgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
                               f"Sec-WebSocket-Key: {key}\r\n\r\n".encode())
                self.assertTrue(stream.recv(100).startswith(b"HTTP/1.1 101 "))


class Suites(unittest.TestCase):
    def folder(self, sandbox: Sandbox) -> None:
        """A folder of scenarios, and the applications that the pages name."""
        (sandbox.home / "scenarios").mkdir()
        (sandbox.home / "scenarios/start.json").write_text(START, encoding="utf-8")
        (sandbox.home / "setup.json").write_text(START, encoding="utf-8")
        for name in ("my-app", "my-device"):
            device(sandbox, name)

    @shows(("docs/korvanectl.md", "korvanectl test scenarios -- ./my-app"))
    def test_a_folder_is_tested(self, block: Block) -> None:
        with Sandbox() as sandbox:
            self.folder(sandbox)
            printed = sandbox.run(block.text)
            self.assertIn("1 case, 0 failed", printed)
            self.assertIn("22 cases, 0 failed", printed)
            self.assertTrue((sandbox.home / "report.xml").is_file())

    @shows(("docs/korvanectl.md", "korvanectl test --agent-versions all korvane:setup"))
    def test_the_library_of_scenarios_has_these_folders(self, block: Block) -> None:
        found = re.fullmatch(r"korvanectl test --agent-versions all ((?:korvane:\w+ )+)-- \./my-device", block.text)
        assert found
        for folder in found[1].split():
            self.assertTrue(list((TREE / "scenarios" / folder.split(":")[1]).rglob("*.json")), folder)

    @shows(("docs/korvanectl.md", '{"title": "a slow start"'))
    def test_the_fault_plan_is_a_scenario(self, block: Block) -> None:
        with Sandbox() as sandbox:
            self.folder(sandbox)
            (sandbox.home / "slow.json").write_text(block.text, encoding="utf-8")
            self.assertIn("1 case, 0 failed", sandbox.run("korvanectl test --faults slow.json scenarios -- ./my-app"))

    @shows(("docs/korvanectl.md", "korvanectl test --shard 2/4"))
    def test_shards_are_merged(self, block: Block) -> None:
        run, merge = block.text.split("\n")
        with Sandbox() as sandbox:
            self.folder(sandbox)
            sandbox.run("korvanectl test --json scenarios -- ./my-app > last.json")
            for part in range(1, 5):
                sandbox.run(run.replace("2/4", f"{part}/4").replace("shard-2", f"shard-{part}"))
            sandbox.run(merge)
            self.assertIn('tests="1"', (sandbox.home / "all.xml").read_text(encoding="utf-8"))

    @shows(("docs/ci/README.md", "korvanectl test --shard I/4"))
    def test_a_build_farm_merges_its_reports(self, block: Block) -> None:
        run, *merges = block.text.split("\n")
        with Sandbox() as sandbox:
            self.folder(sandbox)
            (sandbox.home / "ci").mkdir()
            (sandbox.home / "ci/durations.json").touch()
            for part in range(1, 5):
                sandbox.run(run.replace("I/4", f"{part}/4").replace("shard-I", f"shard-{part}"))
            sandbox.run("\n".join(merges))
            self.assertIn('tests="11"', (sandbox.home / "all.xml").read_text(encoding="utf-8"))
            self.assertGreater((sandbox.home / "ci/durations.json").stat().st_size, 100)


class Scenarios(unittest.TestCase):
    @shows(("docs/scenarios.md", "line 5, expect set_device_property"))
    def test_a_difference_is_printed_like_this(self, block: Block) -> None:
        scenario = '{\n"title": "a name",\n"note": "an example",\n"steps": [\n' \
                   '{"expect": "set_device_property", "with": {"device_name": "washer"}}\n]}\n'
        with Sandbox() as sandbox:
            (sandbox.home / "name.json").write_text(scenario, encoding="utf-8")
            printed = sandbox.run("unset KORVANE_WITHIN_MS; "
                                  "korvanectl run --agent-version 1.4 name.json -- washer 2>&1 || true")
        self.assertIn(" ".join(block.text.split()), " ".join(printed.split()))

    @shows(("docs/scenarios.md", '{"$schema"'))
    def test_a_scenario_may_name_its_schema(self, block: Block) -> None:
        with Sandbox() as sandbox:
            (sandbox.home / "named.json").write_text(block.text + START[1:], encoding="utf-8")
            sandbox.run("korvane-agent --check-scenario named.json")

    @shows(("docs/scenarios.md", '{"any_order": ['))
    def test_an_order_is_written_like_this(self, block: Block) -> None:
        with Sandbox() as sandbox:
            (sandbox.home / "join.json").write_text('{"part": true, "steps": []}', encoding="utf-8")
            (sandbox.home / "setup.json").write_text(f'{{"steps": [{block.text}]}}', encoding="utf-8")
            self.assertIn('"versions"', sandbox.run("korvane-agent --check-scenario setup.json"))

    @shows(("docs/scenarios.md", "FAILED: /home/ann/lamp/setup.json"))
    def test_a_failure_names_the_seed(self, block: Block) -> None:
        scenario = ('{"steps": [\n{"expect": "start"},\n{"phone": "connect"},\n{"any_order": [{"say": "hello"},\n'
                    '[{"say": "again"}, {"until": {"setup.networks.#": 3}}]]}\n]}\n')
        failure, again = block.text.split("\n")
        seed = again.split()[-1]
        with Sandbox() as sandbox:
            device(sandbox, "my-app")
            (sandbox.home / "setup.json").write_text(scenario, encoding="utf-8")
            printed = sandbox.run(f"KORVANE_WITHIN_MS=500 korvanectl run --seed {seed} setup.json -- ./my-app 2>&1 || true")
            home = str(sandbox.home)
        self.assertIn(failure.replace("/home/ann/lamp", home).replace("5000 ms; ...", "500 ms"), printed)
        self.assertIn(again.strip(), printed)


class Traces(unittest.TestCase):
    @shows(("docs/korvanectl.md", "korvanectl trace --pcapng app.pcapng"))
    def test_a_trace_is_written_as_a_capture_file(self, block: Block) -> None:
        to_file, _, _, to_wireshark = block.text.split("\n")
        magic = "0a0d0d0a"
        with Sandbox() as sandbox:
            device(sandbox, "my-app")
            sandbox.start_agent()
            sandbox.run(to_file)
            self.assertEqual((sandbox.home / "app.pcapng").read_bytes()[:4].hex(), magic)
            to_pipe = to_wireshark.split("|")[0]
            self.assertTrue(sandbox.run(f"{to_pipe} 2>/dev/null | od -A n -t x1 | tr -d ' '").startswith(magic))


class Kit(unittest.TestCase):
    @shows(("docs/wire-protocol.md", "build/release/kits/agent/agent-kit"))
    def test_the_agent_kit_runs_beside_an_agent(self, block: Block) -> None:
        with Sandbox() as sandbox:
            sandbox.start_agent()
            (sandbox.home / "build").mkdir()
            (sandbox.home / "build/release").symlink_to(os.environ["BUILD"])
            self.assertIn("ok 1 /session/first-requests", sandbox.run(block.text))


if __name__ == "__main__":
    unittest.main()
