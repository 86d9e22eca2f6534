# SPDX-License-Identifier: Apache-2.0
"""The reference of the Python module as Markdown, from its docstrings. The module is read, not imported."""

import ast
import re
from pathlib import Path
from typing import Dict, Iterator, List, Union

Function = Union[ast.FunctionDef, ast.AsyncFunctionDef]

# The modules, and what each is about. The classes of the first ones are parts of korvane.Device.
DEVICE_PARTS = ["_core", "_wifi", "_setup", "_cloud", "_identity", "_sub_devices"]
MODULES = [
    ("device", "The device"),
    ("supervised", "The supervised connection"),
    ("subscription", "Registrations"),
    ("errors", "Errors"),
    ("_registrations", "Exceptions that leave a handler"),
    ("values", "What an application sends"),
    ("received", "What an application receives"),
    ("glib", "korvane.glib: the GLib main context"),
    ("testing", "korvane.testing: a virtual agent for tests"),
]


def is_public(name: str) -> bool:
    """Whether an application uses the name."""
    return not name.startswith("_") or name == "__init__"


def decorators(function: Function) -> List[str]:
    """The names of a function's decorators."""
    return [ast.unparse(each) for each in function.decorator_list]


def signature(function: Function, name: str) -> str:
    """How a function is called, without `self`."""
    if "property" in decorators(function):
        return f"{name}: {ast.unparse(function.returns)}" if function.returns else name
    arguments = re.sub(r"^self(, |$)", "", ast.unparse(function.args))
    prefix = "async " if isinstance(function, ast.AsyncFunctionDef) else ""
    returned = f" -> {ast.unparse(function.returns)}" if function.returns and name != "__init__" else ""
    return f"{prefix}{name}({arguments}){returned}"


def described(body: List[ast.stmt]) -> Iterator[Function]:
    """The public functions of a class or a module that have a description; one for each name."""
    for each in body:
        if isinstance(each, (ast.FunctionDef, ast.AsyncFunctionDef)):
            if is_public(each.name) and ast.get_docstring(each):
                yield each


def functions(body: List[ast.stmt], class_name: str = "") -> List[str]:
    """The entries of functions."""
    text = []
    for function in described(body):
        title, name = function.name, function.name
        if name == "__init__":
            title = name = class_name
        text += [f"### {title}", "", "```python", signature(function, name), "```", ""]
        text += [ast.get_docstring(function) or "", ""]
    return text


def members(body: List[ast.stmt]) -> List[str]:
    """The members of a record or an enumeration as code, with the comments beside them."""
    return [ast.unparse(each) for each in body if isinstance(each, (ast.AnnAssign, ast.Assign))]


def class_entry(found: ast.ClassDef, source: List[str]) -> List[str]:
    """The entry of a class and those of its methods."""
    text = [f"### class {found.name}", "", ast.get_docstring(found) or "", ""]
    values = [each for each in found.body if isinstance(each, (ast.AnnAssign, ast.Assign))]
    if values:
        text += ["```python", *[source[each.lineno - 1].strip() for each in values], "```", ""]
    return text + functions(found.body, found.name)


def module(path: Path, names: Dict[str, bool]) -> List[str]:
    """The entries of a module. `names` are those that the package exports; without it, all public ones."""
    source = path.read_text(encoding="utf-8")
    text: List[str] = []
    for each in ast.parse(source).body:
        exported = not names or getattr(each, "name", "") in names
        if isinstance(each, ast.ClassDef) and is_public(each.name) and exported:
            text += class_entry(each, source.split("\n"))
        elif isinstance(each, (ast.FunctionDef, ast.AsyncFunctionDef)) and exported:
            text += functions([each])
    return text


def page(package: Path) -> str:
    """The page of the package."""
    exported = re.search(r"__all__ = (\[.*?\])", (package / "__init__.py").read_text(encoding="utf-8"), re.DOTALL)
    assert exported
    names = dict.fromkeys(ast.literal_eval(exported[1]), True)
    text = ["# Python reference", ""]
    text += ["What the module `korvane` contains, from its docstrings. The guide is [Applications in Python](../docs/python.md);"]
    text += ["the manual page of the C function describes the result codes.", ""]
    for name, title in MODULES:
        text += [f"## {title}", ""]
        text += module(package / f"{name}.py", {} if title.startswith("korvane.") else names)
        if name == "device":
            for part in DEVICE_PARTS:
                tree = ast.parse((package / f"{part}.py").read_text(encoding="utf-8"))
                found = next(each for each in tree.body if isinstance(each, ast.ClassDef))
                subject = (ast.get_docstring(found) or "").split(". A part of")[0]
                text += [f"## Device: {subject[0].lower()}{subject[1:].rstrip('.')}", "", *functions(found.body)]
    return "\n".join(text)
