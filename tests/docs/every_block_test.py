# SPDX-License-Identifier: Apache-2.0
"""Each block of README.md, CONTRIBUTING.md and docs is run or compared by a test, or is listed here with the reason.

PLAYED are the pages whose commands a test runs as printed.
"""

import os
import unittest
from typing import List, Optional

import agent_blocks_test  # noqa: F401
import tree_blocks_test  # noqa: F401
from blocks import SHOWN, Block, all_blocks, blocks_of

PLAYED = os.environ["PLAYED"].split(",")

# What no test runs, with the reason.
NOT_RUN = {
    ("docs/architecture.md", "application ── korvane.h"): "a picture of the processes",
}


def how(block: Block) -> Optional[str]:
    """Which test covers a block; nothing if none does."""
    if block.language.startswith("hex "):
        return "the wire protocol"
    if block.page.startswith("docs/") and block.page[5:] in PLAYED and block.language not in ("", "indented"):
        return "the page as printed"
    return next((test for (page, begin), test in SHOWN.items()
                 if page == block.page and block.first_line.startswith(begin)), None)


def is_listed(block: Block) -> bool:
    return any(page == block.page and block.first_line.startswith(begin) for page, begin in NOT_RUN)


class EveryBlock(unittest.TestCase):
    def test_each_block_is_run_or_has_a_reason(self) -> None:
        blocks = all_blocks()
        covered = [block for block in blocks if how(block)]
        missing: List[str] = [str(block) for block in blocks if not how(block) and not is_listed(block)]
        self.assertEqual(missing, [])
        print(f"{len(covered)} of {len(blocks)} blocks are run or compared")
        for (page, begin), reason in NOT_RUN.items():
            print(f"not run: {page}: {begin}...: {reason}")
        self.assertGreater(len(covered), 140)

    def test_each_reason_is_of_a_block_that_no_test_runs(self) -> None:
        listed = [block for block in all_blocks() if is_listed(block)]
        self.assertEqual(len(listed), len(NOT_RUN))
        self.assertEqual([str(block) for block in listed if how(block)], [])

    def test_blocks_of_all_kinds_are_found(self) -> None:
        page = "text\n\n    one\n    two\n\n- item\n\n  ```sh\n  three\n  ```\n\n```c\nfour\n```\n"
        found = [(block.line, block.language, block.text) for block in blocks_of("page", page)]
        self.assertEqual(found, [(3, "indented", "one\ntwo"), (8, "sh", "three"), (12, "c", "four")])


if __name__ == "__main__":
    unittest.main()
