# SPDX-License-Identifier: Apache-2.0
"""The manual pages of section 3, compared with the exports, the compiler's view of the header, and the reference pages.

The environment names PAGES (the directory), TREE (the source tree) and CC (a C compiler).
"""

import os
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path
from typing import Dict, List, Tuple

PAGES = Path(os.environ["PAGES"])
TREE = Path(os.environ["TREE"])
HEADER = (TREE / "include" / "korvane.h").read_text(encoding="utf-8")
UTIL_HEADER = (TREE / "include" / "korvane_util.h").read_text(encoding="utf-8")
FUNCTIONS = [line for line in (TREE / "tests/abi/korvane.exports").read_text(encoding="utf-8").split()
             if line.startswith("korvane_")]
CALLBACKS = re.findall(r"typedef void \(\*(korvane_\w+)\)", HEADER)
UTIL_FUNCTIONS = re.findall(r"korvane_util_\w+", (TREE / "src/korvane_util/korvane_util.map").read_text(encoding="utf-8"))
UTIL_CALLBACKS = re.findall(r"typedef \w+ \(\*(korvane_\w+)\)", UTIL_HEADER)

SECTIONS = ["NAME", "LIBRARY", "SYNOPSIS", "DESCRIPTION", "ARGUMENTS", "RETURN VALUES", "AGENT VERSION", "OWNERSHIP",
            "EXAMPLES", "SEE ALSO"]


def source(name: str) -> str:
    return (PAGES / f"{name}.3").read_text(encoding="utf-8")


def sections(name: str) -> Dict[str, str]:
    parts = re.split(r"^\.Sh (.*)\n", source(name), flags=re.MULTILINE)
    return dict(zip(parts[1::2], parts[2::2]))


def entries(section: str) -> Dict[str, str]:
    """The items of a list: the last word of the term, and the text."""
    parts = re.split(r"^\.It (?:\w+ )?(\S+)\n", section.removesuffix(".El\n"), flags=re.MULTILINE)
    return dict(zip(parts[1::2], parts[2::2]))


def declaration(name: str) -> Tuple[str, List[str]]:
    """The type before the name, and the arguments."""
    synopsis = sections(name)["SYNOPSIS"]
    return (re.search(r"^\.Ft (.*)$", synopsis, re.MULTILINE).group(1),
            re.findall(r'^\.Fa "(.*)"$', synopsis, re.MULTILINE))


def unescaped(text: str) -> str:
    return text.replace("\\&", "").replace("\\(aq", "'").replace("\\-", "-").replace("\\e", "\\")


class Section3(unittest.TestCase):
    def test_every_export_and_every_callback_type_has_a_page(self) -> None:
        self.assertEqual(len(FUNCTIONS), 179)
        self.assertEqual(len(CALLBACKS), 33)
        missing = [name for name in FUNCTIONS + CALLBACKS if not (PAGES / f"{name}.3").exists()]
        self.assertEqual(missing, [])

    def test_no_page_is_about_something_that_the_header_lacks(self) -> None:
        for page in PAGES.iterdir():
            self.assertRegex(HEADER + UTIL_HEADER, rf"\b{page.stem}\b")

    def test_the_companion_library_has_pages_too(self) -> None:
        self.assertGreater(len(UTIL_FUNCTIONS), 9)
        for name in UTIL_FUNCTIONS + UTIL_CALLBACKS:
            result, arguments = declaration(name)
            expected = ["NAME", "LIBRARY", "SYNOPSIS", "DESCRIPTION"]
            expected += ["ARGUMENTS"] if arguments else []
            expected += [] if result.split()[-1] == "void" else ["RETURN VALUES"]
            without = [section for section in sections(name) if section not in ("OWNERSHIP", "EXAMPLES")]
            self.assertEqual(without, expected + ["SEE ALSO"], name)

    def test_each_page_has_each_section_with_a_text(self) -> None:
        for name in FUNCTIONS + CALLBACKS:
            expected = [section for section in SECTIONS if section != "RETURN VALUES" or name in FUNCTIONS]
            self.assertEqual(list(sections(name)), expected, name)
            for section, text in sections(name).items():
                self.assertGreater(len(re.sub(r"^\..*$", "", text, flags=re.MULTILINE).strip()) or
                                   len(re.findall(r"^\.(?:It|Xr|Nd|Fo) ", text, re.MULTILINE)), 0, f"{name}: {section}")

    def test_each_name_has_a_description_of_one_line(self) -> None:
        for name in FUNCTIONS + CALLBACKS:
            self.assertRegex(sections(name)["NAME"], rf"\A\.Nm {name}\n\.Nd [a-z][^\n]{{10,}}[^.\n]\n\Z", name)

    def test_the_compiler_accepts_each_synopsis_beside_the_header(self) -> None:
        lines = ["#include <korvane_util.h>"]
        for name in FUNCTIONS + UTIL_FUNCTIONS:
            result, arguments = declaration(name)
            lines.append(f"{result} {name}({', '.join(arguments) or 'void'});")
        for name in CALLBACKS + UTIL_CALLBACKS:
            result, arguments = declaration(name)
            lines.append(f"{result} (*{name})({', '.join(arguments)});")
        with tempfile.TemporaryDirectory() as directory:
            text = Path(directory) / "synopses.c"
            text.write_text("\n".join(lines) + "\n", encoding="utf-8")
            compiler = subprocess.run([os.environ["CC"], "-std=c11", "-fsyntax-only", "-I", str(TREE / "include"), str(text)],
                                      capture_output=True, text=True, check=False)
            self.assertEqual(compiler.returncode, 0, compiler.stderr)

    def test_each_argument_is_described(self) -> None:
        for name in FUNCTIONS + CALLBACKS:
            declared = [re.search(r"\w+$", argument).group(0) for argument in declaration(name)[1]]
            described = entries(sections(name)["ARGUMENTS"])
            self.assertEqual(list(described), declared, name)
            for argument, text in described.items():
                self.assertGreater(len(text.split()), 1, f"{name}: {argument}")

    def test_each_return_value_has_a_cause_and_a_remedy(self) -> None:
        remedies = {code: " ".join(re.sub(r"\n +\* ", " ", text).split()) for text, code in re.findall(
            r"What to do: ([^/]*?)\s*\*/\s*(KORVANE_ERROR_\w+) =", HEADER)}
        self.assertEqual(len(remedies), 9)
        for name in FUNCTIONS:
            values = entries(sections(name)["RETURN VALUES"])
            for code in ("NONE", "NOT_SUPPORTED", "AGENT_VERSION_LOWER", "INVALID_PARAMETER"):
                self.assertIn("KORVANE_ERROR_" + code, values, name)
            for code, text in values.items():
                words = re.sub(r"\.(?:Xr|Dv|Fa|Ql|Fn) (\S+)(?: 3)?", r"\1", unescaped(text))
                words = re.sub(r" ([.,;:)])", r"\1", " ".join(words.split()))
                remedy = remedies.get(code, "").replace("()", "")
                self.assertTrue(words.lower().endswith(remedy.lower()), f"{name}: {code}: {words}")
                self.assertGreater(len(words) - len(remedy), 3, f"{name}: {code} has no cause")

    def test_the_lowest_agent_versions_are_those_that_the_library_checks(self) -> None:
        reference = (TREE / "docs/reference/functions.md").read_text(encoding="utf-8")
        lowest = dict(re.findall(r"^\| `(korvane_\w+)` \| [^|]* \| (any|\d\.\d) \|", reference, re.MULTILINE))
        self.assertEqual(len(lowest), 179)
        for name in FUNCTIONS:
            expected = "Any agent version." if lowest[name] == "any" else f"Agent {lowest[name]} or later."
            self.assertEqual(sections(name)["AGENT VERSION"].strip(), expected, name)

    def test_each_example_is_one_of_the_header(self) -> None:
        code = {re.sub(r"^ \* ?", "", block, flags=re.MULTILINE).strip()
                for block in re.findall(r"@code\n(.*?) \* @endcode", HEADER, re.DOTALL)}
        for name in FUNCTIONS + CALLBACKS:
            example = sections(name)["EXAMPLES"].removeprefix(".Bd -literal\n").removesuffix(".Ed\n").strip()
            self.assertIn(unescaped(example), code, name)

    def test_the_example_of_the_companion_library_compiles(self) -> None:
        example = re.search(r"@code\n(.*?) \* @endcode", UTIL_HEADER, re.DOTALL).group(1)
        example = re.sub(r"^ \* ?", "", example, flags=re.MULTILINE)
        before = ("#include <glib.h>\n#include <korvane_util.h>\n#include <stdio.h>\n"
                  "static void on_scan_ap(korvane_h device, int req_id, void *user_data) {}\n")
        flags = subprocess.run(["pkg-config", "--cflags", "glib-2.0"], capture_output=True, text=True, check=True).stdout
        compiler = subprocess.run(
            [os.environ["CC"], *flags.split(), "-I", str(TREE / "include"), "-x", "c", "-std=c11", "-fsyntax-only", "-Wall",
             "-Werror", "-"], input=before + example, capture_output=True, text=True, check=False)
        self.assertEqual(compiler.returncode, 0, compiler.stderr)
        shown = [name for name in UTIL_FUNCTIONS + UTIL_CALLBACKS if "EXAMPLES" in sections(name)]
        self.assertGreater(len(shown), 4)
        for name in shown:
            self.assertIn(unescaped(sections(name)["EXAMPLES"]).split("\n", 1)[1].removesuffix(".Ed\n").strip(), example, name)

    def test_the_pages_that_a_page_refers_to_exist(self) -> None:
        for page in PAGES.iterdir():
            for name, section in re.findall(r"^\.(?:Pf \S+ |It )?Xr (\S+) (\d)", page.read_text(encoding="utf-8"), re.MULTILINE):
                known = PAGES / f"{name}.3" if section == "3" else TREE / f"docs/man/{name}.{section}"
                self.assertTrue(known.exists(), f"{page.name}: {name}({section})")

    @unittest.skipUnless(shutil.which("mandoc"), "mandoc is not installed")
    def test_mandoc_has_no_complaint(self) -> None:
        lint = subprocess.run(["mandoc", "-T", "lint", *sorted(map(str, PAGES.iterdir()))], capture_output=True, text=True,
                              check=False)
        complaints = [line for line in lint.stdout.splitlines() if "STYLE: referenced manual not found" not in line]
        self.assertEqual(complaints, [])

    @unittest.skipUnless(shutil.which("makewhatis", path="/usr/sbin:/usr/bin") and shutil.which("mapropos"), "no mapropos")
    def test_apropos_finds_the_pages(self) -> None:
        with tempfile.TemporaryDirectory() as directory:
            shutil.copytree(PAGES, Path(directory) / "man3")
            makewhatis = shutil.which("makewhatis", path="/usr/sbin:/usr/bin")
            subprocess.run([makewhatis, directory], check=True)
            found = subprocess.run(["mapropos", "-M", directory, "korvane"], capture_output=True, text=True, check=True).stdout
        names = set(re.findall(r"^(\w+)\(3\) - ", found, re.MULTILINE))
        self.assertEqual(set(FUNCTIONS + CALLBACKS) - names, set())


if __name__ == "__main__":
    unittest.main()
