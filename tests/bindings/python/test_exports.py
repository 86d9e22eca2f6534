# SPDX-License-Identifier: Apache-2.0
import ast
import os
from pathlib import Path

import korvane


def names_in(module: Path) -> set[str]:
    """Return the functions that a module names, as a text or as an attribute of the library."""
    found = set()
    for node in ast.walk(ast.parse(module.read_text())):
        if isinstance(node, ast.Constant) and isinstance(node.value, str):
            found.add(node.value)
        elif isinstance(node, ast.Attribute):
            found.add(node.attr)
    return found


def test_every_exported_function_is_used() -> None:
    folder = Path(korvane.__file__).parent
    used = set().union(*(names_in(module) for module in folder.glob("*.py") if module.name != "_ffi.py"))
    # A registration is ended by the function of its set function's name; test_device.py ends each one.
    used |= {name.replace("korvane_set_", "korvane_unset_") for name in used if name.endswith("_cb")}
    lines = Path(os.environ["KORVANE_EXPORTS"]).read_text().splitlines()
    exported = [line for line in lines if line and not line.startswith("#")]
    assert len(exported) == 179
    assert [name for name in exported if name not in used] == []
