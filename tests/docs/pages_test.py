# SPDX-License-Identifier: Apache-2.0
"""Pages of docs, compared with the source and the library. TREE is the source tree, LIBRARY libkorvane.so."""

import os
import re
import subprocess
import unittest
from pathlib import Path
from typing import List

TREE = Path(os.environ["TREE"])
HEADER = (TREE / "include/korvane.h").read_text(encoding="utf-8")
REFERENCE = (TREE / "docs/reference/functions.md").read_text(encoding="utf-8")


def page(name: str) -> str:
    return (TREE / "docs" / name).read_text(encoding="utf-8")


def part(text: str, heading: str) -> str:
    return text.split(f"\n## {heading}\n")[1].split("\n## ")[0]


def rows(text: str) -> List[List[str]]:
    """The rows of the tables in a text, without their heads."""
    found: List[List[str]] = []
    for table in re.findall(r"(?:^ *\|.*\n)+", text, re.MULTILINE):
        lines = table.strip().split("\n")
        found += [[cell.strip() for cell in line.strip().strip("|").split(" | ")] for line in lines[2:]]
    return found


def string_literals() -> List[str]:
    """The texts in the sources of what is shipped; adjacent literals are one text."""
    texts = []
    for folder in ("common", "src", "platform", "agent", "tools/ctl"):
        for file in (TREE / folder).rglob("*.[ch]pp"):
            for run in re.findall(r'(?:"(?:[^"\\\n]|\\.)*"(?:_fmt)?\s*)+', file.read_text(encoding="utf-8")):
                literals = re.findall(r'"((?:[^"\\\n]|\\.)*)"', run)
                texts.append("".join(literals).replace('\\"', '"'))
    return texts


class Troubleshooting(unittest.TestCase):
    # What follows a code, a program or a name, not a text that a program prints.
    NO_TEXT = re.compile(r"KORVANE_\w+|REJECTED|DISCONNECTED|CONNECTED|--refuse|-\w.*|\w+\.md|err|problem|korvane[-_][\w -]*|"
                         r"korvanectl [\w -]+|chmod \d+|dbus-run-session|ldconfig|NULL|Executable|Group|Version|PREFIX.*|"
                         r"PKG_CONFIG_PATH|major\.minor|Complete|Fail")

    def texts(self) -> List[str]:
        symptoms = page("troubleshooting.md").split("\n## The application gets no connection\n")[1]
        symptoms = symptoms.split("\n## The application does not build or load\n")[0]
        cells = [cell for row in rows(symptoms) for cell in row]
        found = [text for cell in cells for text in re.findall(r"`([^`]+)`", cell)]
        return [text for text in found if not self.NO_TEXT.fullmatch(text)]

    def test_each_text_is_in_the_source(self) -> None:
        literals = string_literals()
        texts = self.texts()
        self.assertGreater(len(texts), 45)
        for text in texts:
            fragments = [re.escape(fragment.strip()) for fragment in text.split("...") if fragment.strip(" :'\"")]
            form = re.compile(".*".join(fragments))
            self.assertTrue(any(form.search(literal) for literal in literals), f"no program prints: {text}")

    def test_each_row_names_a_cause_and_a_remedy(self) -> None:
        for row in rows(page("troubleshooting.md")):
            self.assertEqual(len(row), 3, row)
            self.assertTrue(all(row), row)

    def test_result_codes_exist(self) -> None:
        for code in re.findall(r"KORVANE_ERROR_\w+", page("troubleshooting.md")):
            self.assertIn(f"    {code} = ", HEADER)


class Porting(unittest.TestCase):
    def test_the_table_has_the_functions_that_the_library_needs(self) -> None:
        symbols = subprocess.run(["nm", "-D", "--undefined-only", os.environ["LIBRARY"]], capture_output=True, text=True,
                                 check=True).stdout
        headers = "".join(file.read_text(encoding="utf-8") for file in (TREE / "platform/include").glob("*.h"))
        needed = {name for name in re.findall(r"U (\w+)", symbols) if re.search(rf"^[a-z][\w *]*\b{name}\(", headers, re.MULTILINE)}
        named = re.findall(r"`(\w+)`", part(page("porting.md"), "1. What the library calls").split("Functions return")[0])
        functions = [name for name in named if "." not in name]
        self.assertEqual(len(functions), len(set(functions)))
        self.assertEqual(set(functions), needed)
        self.assertIn(f"through {len(needed)} C functions", page("porting.md"))

    def test_each_function_is_declared_in_the_header_of_its_row(self) -> None:
        for header, functions in rows(part(page("porting.md"), "1. What the library calls")):
            text = (TREE / "platform/include" / re.match(r"`([\w.]+)`", header).group(1)).read_text(encoding="utf-8")
            for name in re.findall(r"`(\w+)`", functions):
                self.assertRegex(text, rf"\b{name}\(")


class Migration(unittest.TestCase):
    def test_each_version_adds_the_functions_that_the_library_refuses_below_it(self) -> None:
        lowest = dict(re.findall(r"^\| `korvane_(\w+)` \| [^|]* \| (any|\d\.\d) \|", REFERENCE, re.MULTILINE))
        self.assertEqual(len(lowest), 179)
        documented = {name: version for version, names in rows(part(page("migration.md"), "What each version adds"))
                      for name in re.findall(r"`(\w+)`", names)}
        self.assertEqual(documented, {name: "1.0" if version == "any" else version for name, version in lowest.items()})

    def test_the_versions_beside_functions_are_right(self) -> None:
        lowest = dict(re.findall(r"^\| `(korvane_\w+)` \| [^|]* \| (any|\d\.\d) \|", REFERENCE, re.MULTILINE))
        stated = re.findall(r"((?:`korvane_\w+`(?:, )?)+) \((\d\.\d)\)", page("migration.md"))
        self.assertGreater(len(stated), 8)
        for names, version in stated:
            for name in re.findall(r"korvane_\w+", names):
                self.assertEqual(lowest[name], version, name)

    def test_handles_change_their_form_at_the_versions_of_the_header(self) -> None:
        for handle, _, below, *_ in rows(part(page("migration.md"), "What changes its form")):
            comment = re.search(r"/\*\*((?:(?!\*/).)*)\*/\ntypedef struct \w+ \*" + handle.strip("`"), HEADER, re.DOTALL)
            words = re.sub(r"\s+\* ?", " ", comment.group(1))
            self.assertIn(f"JSON from {below.split(':')[0]} on", words, handle)


if __name__ == "__main__":
    unittest.main()
