# SPDX-License-Identifier: Apache-2.0
"""The blocks of bytes in docs/wire-protocol.md."""

import re
from pathlib import Path
from typing import Dict, Set

PAGE = Path(__file__).parents[3] / "docs" / "wire-protocol.md"


class Page:
    """Frames by the name of their block: page["start_async"]. Notes which of them were used."""

    def __init__(self, text: str):
        self._frames: Dict[str, bytes] = {}
        self._used: Set[str] = set()
        for name, block in re.findall(r"^ *```hex ([^\n]+)\n(.*?)^ *```$", text, re.MULTILINE | re.DOTALL):
            if name in self._frames:
                raise ValueError(f"two blocks have the name {name}")
            # The bytes of a line are separated by one blank each; an explanation follows three blanks or more.
            bytes_of_lines = (re.split(r"   +", line.strip())[0] for line in block.splitlines())
            self._frames[name] = bytes.fromhex(" ".join(bytes_of_lines))

    def __getitem__(self, name: str) -> bytes:
        self._used.add(name)
        return self._frames[name]

    def unused(self) -> Set[str]:
        return set(self._frames) - self._used


page = Page(PAGE.read_text(encoding="utf-8"))
