# SPDX-License-Identifier: Apache-2.0
"""The blocks of code in README.md, CONTRIBUTING.md and docs: fenced ones, and those that are indented by four blanks."""

import functools
import os
import re
import textwrap
import unittest
from dataclasses import dataclass
from pathlib import Path
from typing import Callable, Dict, Iterator, List, Tuple

TREE = Path(os.environ["TREE"])


@dataclass(frozen=True)
class Block:
    """A block of a page. `language` is empty if the fence names none, "indented" without a fence."""

    page: str
    line: int
    language: str
    text: str

    @property
    def first_line(self) -> str:
        return self.text.split("\n")[0].strip()

    def __str__(self) -> str:
        return f"{self.page}:{self.line}: {self.first_line}"


def indented(page: str, lines: List[str], at: int) -> Block:
    """The block that begins at a line and ends before the next one with fewer blanks."""
    end = at
    while end < len(lines) and (lines[end].startswith("    ") or not lines[end].strip()):
        end += 1
    return Block(page, at + 1, "indented", textwrap.dedent("\n".join(lines[at:end])).strip("\n"))


def blocks_of(page: str, text: str) -> Iterator[Block]:
    """All blocks of a page in order."""
    lines = text.split("\n")
    at = 0
    while at < len(lines):
        fence = re.match(r" *```(.*)$", lines[at])
        if fence:
            end = at + 1
            while not re.match(r" *```$", lines[end]):
                end += 1
            yield Block(page, at + 1, fence[1], textwrap.dedent("\n".join(lines[at + 1 : end])))
            at = end
        elif lines[at].startswith("    ") and not lines[at - 1].strip():
            block = indented(page, lines, at)
            yield block
            at += len(block.text.split("\n")) - 1
        at += 1


def all_pages() -> List[str]:
    pages = [str(file.relative_to(TREE)) for file in (TREE / "docs").rglob("*.md")]
    return ["README.md", "CONTRIBUTING.md", *sorted(pages)]


def all_blocks() -> List[Block]:
    return [block for page in all_pages() for block in blocks_of(page, (TREE / page).read_text(encoding="utf-8"))]


# The blocks that tests show, by page and first line, with the name of the test.
SHOWN: Dict[Tuple[str, str], str] = {}


def find(page: str, first_line: str) -> Block:
    """The only block of a page that begins with a text."""
    found = [
        block
        for block in blocks_of(page, (TREE / page).read_text(encoding="utf-8"))
        if block.first_line.startswith(first_line)
    ]
    if len(found) != 1:
        raise AssertionError(f"{page} has {len(found)} blocks that begin with '{first_line}'")
    return found[0]


def shows(*places: Tuple[str, str]) -> Callable[[Callable[..., None]], Callable[..., None]]:
    """A test of blocks, each given as page and begin of its first line. The test receives one block after the other."""

    def decorate(test: Callable[..., None]) -> Callable[..., None]:
        SHOWN.update({place: test.__name__ for place in places})

        @functools.wraps(test)
        def run(self: unittest.TestCase) -> None:
            for page, first_line in places:
                with self.subTest(page=page, block=first_line):
                    test(self, find(page, first_line))

        return run

    return decorate
