# SPDX-License-Identifier: Apache-2.0
"""The reference of the C++ API as Markdown, from the comments of its headers."""

import re
from pathlib import Path
from typing import Iterator, List, NamedTuple, Optional, Tuple

# The headers and what each is about. In those of device/, all is part of korvane::Device.
HEADERS = [
    ("korvane/device.hpp", "The device"),
    ("korvane/device/core.hpp", "Device: service, state, commands"),
    ("korvane/device/wifi.hpp", "Device: Wi-Fi"),
    ("korvane/device/setup.hpp", "Device: setup"),
    ("korvane/device/cloud.hpp", "Device: cloud"),
    ("korvane/device/identity.hpp", "Device: identity"),
    ("korvane/device/sub_devices.hpp", "Device: sub-devices"),
    ("korvane/device/calls.hpp", "Device: its handle"),
    ("korvane_util.hpp", "The supervised connection"),
    ("korvane/subscription.hpp", "Registrations"),
    ("korvane/result.hpp", "Results"),
    ("korvane/values.hpp", "What an application sends"),
    ("korvane/received.hpp", "What an application receives"),
    ("korvane/coroutine.hpp", "Coroutines"),
    ("korvane/exceptions.hpp", "Exceptions that leave a handler"),
]

# Described in the headers, and of no use to an application.
HIDDEN = {"fail", "await_suspend"}


class Entry(NamedTuple):
    """A declaration with its description. A class has no description of its members here."""

    name: str
    declaration: str
    description: List[str]


def without_details(lines: List[str], keep_details: bool) -> Iterator[str]:
    """The public lines: without private parts of classes and, unless they are kept, without the namespace detail."""
    detail_until: Optional[str] = None
    private_until: Optional[str] = None
    for number, line in enumerate(lines):
        if private_until is not None:
            if line == private_until:
                private_until = None
                yield line
            continue
        if re.match(r" *(private|protected):$", line):
            private_until = line[: len(line) - len(line.lstrip())] + "};"
            continue
        if line == "namespace detail {" and not keep_details:
            is_short = "}" in lines[number : number + 4]
            detail_until = "}" if is_short else "} // namespace detail"
        if detail_until is None:
            yield line
        elif line == detail_until:
            detail_until = None


def comment_text(line: str) -> str:
    """A line of a comment without its marker."""
    return re.sub(r"^ *///? ?", "", line)


def whole_type(lines: List[str], at: int) -> Tuple[str, int]:
    """A struct or an enumeration up to its end; only its head if it has member functions."""
    indent = lines[at][: len(lines[at]) - len(lines[at].lstrip())]
    end = at
    while lines[end] != indent + "};":
        end += 1
    body = lines[at : end + 1]
    if any(re.search(r"\w\(.*\) (const )?(noexcept )?(\{|$)", line) for line in body[1:]):
        return body[0].replace(" {", ""), end
    return "\n".join(line[len(indent) :] for line in body), end


def whole_function(lines: List[str], at: int) -> Tuple[str, int]:
    """A declaration without its body and its initialisers."""
    text = []
    while True:
        text.append(lines[at].strip())
        if re.search(r"[{;]", re.sub(r"\{\}(?=[,)])", "", lines[at])) or lines[at + 1].strip() in ("{", ""):
            break
        at += 1
    declaration = re.sub(r"^(template <[^>]*>) ", r"\1\n", " ".join(text))
    return re.split(r" (?=\{(?!\}[,)]))|;| : (?=public |\w+[_(])", declaration)[0], at


def name_of(declaration: str) -> str:
    """The name that a declaration declares."""
    code = re.sub(r"template <[^\n]*\n?", "", declaration)
    if found := re.match(r"(?:class|struct|enum class) (?:\[\[nodiscard\]\] )?(\w+)", code):
        return found[1]
    if found := re.match(r"using (\w+)", code):
        return found[1]
    if found := re.search(r"(operator ?[\w\[\]*=>()-]+?|~?\w+)\(", code):
        return found[1]
    return code.split()[-1]


def entries(header: str, keep_details: bool) -> Iterator[Entry]:
    """The described declarations of a header in order."""
    lines = list(without_details(header.split("\n"), keep_details))
    comment: List[str] = []
    at = 0
    while at < len(lines):
        line = lines[at]
        if re.match(r" *///(?!<)", line):
            comment.append(comment_text(line))
        elif comment and re.match(r" *(struct|enum class) ", line):
            declaration, at = whole_type(lines, at)
            yield Entry(name_of(declaration), declaration, comment)
            comment = []
        elif comment and (found := re.match(r" *(class (?:\[\[nodiscard\]\] )?\w+)", line)):
            yield Entry(name_of(found[1]), found[1], comment)
            comment = []
        elif comment and line.strip() and not line.startswith(("#", "namespace", "}")):
            declaration, at = whole_function(lines, at)
            yield Entry(name_of(declaration), declaration, comment)
            comment = []
        elif line.strip():
            comment = []
        at += 1


def markdown(text: List[str]) -> str:
    """A description as Markdown. Lines that are indented by four blanks are code."""
    shown = []
    for line in text:
        is_code = line.startswith("    ")
        shown.append(line if is_code else line.replace("<", "&lt;").replace("*", "\\*").replace("[", "\\["))
    return "\n".join(shown).strip("\n")


def page(headers: Path) -> str:
    """The page of all headers below a directory."""
    text = ["# C++ reference", ""]
    text += ["What `korvane.hpp` and `korvane_util.hpp` declare, from the comments of the headers. The guide is"]
    text += ["[Applications in C++](../docs/cpp.md); the manual page of the C function describes the result codes.", ""]
    for name, title in HEADERS:
        text += [f"## {title}", "", f"`{name}`", ""]
        keep_details = name.startswith("korvane/device/") or name == "korvane/result.hpp"
        for entry in entries((headers / name).read_text(encoding="utf-8"), keep_details):
            if entry.name in HIDDEN:
                continue
            if entry.name.endswith("Functions") or entry.name == "Calls":
                text += [markdown(entry.description).replace(" A part of korvane::Device.", ""), ""]
                continue
            text += [f"### {entry.name}", "", "```cpp", entry.declaration, "```", "", markdown(entry.description), ""]
    return "\n".join(text)
