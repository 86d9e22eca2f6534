# SPDX-License-Identifier: Apache-2.0
"""`korvanectl functions --json` and `korvanectl info --json`, compared with korvane.h.

The header is read here by other means than the tool's, and a few functions are compared with texts that are written by hand. The
environment names CTL and TREE.
"""

import json
import os
import re
import subprocess
import unittest
from pathlib import Path
from typing import Any, Dict, List, Tuple

CTL = os.environ["CTL"]
TREE = Path(os.environ["TREE"])
HEADER = (TREE / "include/korvane.h").read_text(encoding="utf-8")
EXPORTS = [line for line in (TREE / "tests/abi/korvane.exports").read_text(encoding="utf-8").split()
           if line.startswith("korvane_")]
VERSIONS = dict(re.findall(r"^\| `(korvane_\w+)` \| [^|]+ \| ([\w.]+) \|",
                           (TREE / "docs/reference/functions.md").read_text(encoding="utf-8"), re.MULTILINE))
CODES = {f"KORVANE_ERROR_{name}": value for name, value in {
    "NONE": 0, "INVALID_PARAMETER": -22, "OUT_OF_MEMORY": -12, "PERMISSION_DENIED": -13, "IO_ERROR": -5, "NO_DATA": -61,
    "NOT_SUPPORTED": -1073741822, "OPERATION_FAILED": -1073741825, "SERVICE_UNAVAILABLE": -1073741826,
    "AGENT_VERSION_LOWER": -1073741827}.items()}


def run(*words: str) -> List[Dict[str, Any]]:
    output = subprocess.run([CTL, *words], capture_output=True, text=True, check=True).stdout
    return [json.loads(line) for line in output.splitlines()]


def declarations() -> Dict[str, Tuple[str, str]]:
    """The parameter list and the comment in front of it, by function."""
    found = {}
    for match in re.finditer(r"^KORVANE_API int (\w+)\(([^)]*)\);", HEADER, re.MULTILINE):
        before = HEADER[:match.start()]
        found[match.group(1)] = (" ".join(match.group(2).split()), before[before.rindex("/**"):])
    return found


def without_marks(text: str) -> str:
    return re.sub(r'@ref \w+ "([^"]*)"|@ref |[`#]', r"\1", text)


FUNCTIONS = run("functions", "--json")


class Functions(unittest.TestCase):
    def test_are_those_of_the_header_in_its_order(self) -> None:
        names = [function["name"] for function in FUNCTIONS]
        self.assertEqual(len(names), 179)
        self.assertEqual(names, list(declarations()))
        self.assertEqual(sorted(names), sorted(EXPORTS))

    def test_have_the_parameters_of_their_declarations(self) -> None:
        for function in FUNCTIONS:
            declared, _ = declarations()[function["name"]]
            written = [parameter["type"] + ("" if parameter["type"].endswith("*") else " ") + parameter["name"]
                       for parameter in function["parameters"]]
            self.assertEqual(", ".join(written), declared, function["name"])

    def test_have_the_directions_and_texts_of_their_comments(self) -> None:
        for function in FUNCTIONS:
            _, comment = declarations()[function["name"]]
            text = " ".join(re.sub(r"^ \*", " ", comment, flags=re.MULTILINE).split())
            for parameter in function["parameters"]:
                tag = "@param[out]" if parameter["direction"] == "out" else "@param"
                self.assertIn(f"{tag} {parameter['name']} {parameter['description']}", without_marks(text), function["name"])
            self.assertIn(f"/** {function['summary']}", without_marks(text), function["name"])
            self.assertIn(function["use"], without_marks(text), function["name"])

    def test_write_only_through_pointers(self) -> None:
        for function in FUNCTIONS:
            for parameter in function["parameters"]:
                if parameter["direction"] == "out":
                    self.assertRegex(parameter["type"], r"\*$", function["name"])
                    self.assertFalse(parameter["nullable"], function["name"])
                    self.assertIn("ownership", parameter, function["name"])
                else:
                    self.assertTrue(not parameter["type"].endswith("*") or re.match("const |void ", parameter["type"])
                                    or parameter["type"].rstrip("* ").endswith("_h"), f"{function['name']}: {parameter}")

    def test_have_a_direction_that_fits_the_view_of_the_command_line(self) -> None:
        for function in FUNCTIONS:
            plain_outs = [parameter for parameter in function["parameters"]
                          if parameter["direction"] == "out" and parameter["name"] not in ("handle", "count")]
            self.assertEqual(len(plain_outs), len(function["outs"]), function["name"])

    def test_have_every_result_of_their_comments(self) -> None:
        for function in FUNCTIONS:
            _, comment = declarations()[function["name"]]
            tagged = re.search(r"@retval.*?\n \*\n", comment, re.DOTALL).group(0)
            tagged += "".join(re.findall(r"@return.*?\n \*\n", comment, re.DOTALL))
            first = re.findall(r"@retval (\w+)|(KORVANE_ERROR_\w+) \(", tagged)
            self.assertEqual({result["name"] for result in function["results"]}, {a or b for a, b in first}, function["name"])
            for result in function["results"]:
                self.assertEqual(result["code"], CODES[result["name"]])
                self.assertGreater(len(result["cause"].split()), 0)

    def test_have_the_lowest_versions(self) -> None:
        self.assertEqual({function["name"]: function["lowest_version"] for function in FUNCTIONS}, VERSIONS)

    def test_are_described_in_full(self) -> None:
        function, = run("functions", "--json", "tcp_header_info_get_src_addr")
        self.assertEqual(function["group"], "Keep-alive and the TCP connection of the agent")
        self.assertEqual(function["lowest_version"], "1.4")
        self.assertEqual(function["parameters"][1], {
            "name": "src_addr", "type": "char **", "direction": "out",
            "description": "the IP address as text; call free() on it; NULL if the agent sent another JSON type than a "
                           "string; not NULL itself",
            "nullable": False,
            "ownership": "*src_addr belongs to the application, which calls free() on it."})
        function, = run("functions", "--json", "set_keepalive_intervals")
        self.assertEqual(function["parameters"][1], {
            "name": "interval_array", "type": "const int *", "direction": "in",
            "description": "the intervals, any values; the unit is agent-defined (korvane-agent: seconds); read during the "
                           "call; not NULL",
            "nullable": False, "unit": "agent-defined, seconds with korvane-agent",
            "ownership": "interval_array belongs to the application; the library reads it during the call only."})
        self.assertEqual(function["results"][0],
                         {"name": "KORVANE_ERROR_NONE", "code": 0, "cause": "the agent accepted them"})
        self.assertIn({"name": "KORVANE_ERROR_IO_ERROR", "code": -5,
                       "cause": "the link to the agent failed during the call"}, function["results"])

    def test_name_each_unit(self) -> None:
        units = {(function["name"].removeprefix("korvane_"), parameter["name"]): parameter["unit"]
                 for function in FUNCTIONS for parameter in function["parameters"] if "unit" in parameter}
        self.assertEqual(units, {
            ("aplist_set_signal_level", "signal_level"): "agent-defined",
            ("aplist_set_max_rate", "max_rate"): "agent-defined",
            ("aplist_set_frequency", "frequency"): "agent-defined",
            ("laststatusinfo_set_timestamp", "timestamp"): "agent-defined",
            ("set_keepalive_intervals", "interval_array"): "agent-defined, seconds with korvane-agent",
            ("hdr_token_info_get_expiration_time", "expiration_time"):
                "agent-defined, seconds since 1970-01-01 UTC with korvane-agent"})

    def test_are_the_same_in_info(self) -> None:
        for function in FUNCTIONS[::20]:
            info, = run("info", "--json", function["name"])
            for member in ("lowest_version", "group", "summary", "parameters", "results", "use"):
                self.assertEqual(info[member], function[member], function["name"])

    def test_are_described_for_people_by_info(self) -> None:
        text = subprocess.run([CTL, "info", "get_device_id"], capture_output=True, text=True, check=True).stdout
        for line in ("Arguments:", "  device_id (out, char **): the id; call free() on it; not NULL",
                     "    ownership: *device_id belongs to the application, which calls free() on it.", "Results:",
                     "  KORVANE_ERROR_IO_ERROR: the link to the agent failed during the call"):
            self.assertIn(line, text.splitlines())


if __name__ == "__main__":
    unittest.main()
