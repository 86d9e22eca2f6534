# SPDX-License-Identifier: Apache-2.0
"""Reads public headers: their declarations with their comments."""

import re
from dataclasses import dataclass, field
from typing import Dict, List, Optional, Tuple

# A block of a comment: ("text", paragraph), ("heading", title), ("code", lines), ("table", rows), ("list", items)
Block = Tuple[str, object]


@dataclass
class Group:
    """A @defgroup."""
    header: str  # the name of its file
    name: str
    title: str
    blocks: List[Block]
    members: List["Item"] = field(default_factory=list)

    def examples(self) -> List[str]:
        return [content for kind, content in self.blocks if kind == "code"]


@dataclass
class Item:
    """A function, a callback type, a handle type, a structure or an enumeration."""
    kind: str
    name: str
    group: Group
    declaration: str
    blocks: List[Block]
    result: str = ""  # the type that a function or a callback returns
    parameters: List[Tuple[str, str]] = field(default_factory=list)  # type and name
    returns: str = ""  # what the comment says of the result, if it does not list codes one by one
    described: Dict[str, str] = field(default_factory=dict)  # what the comment says of each parameter
    outs: List[str] = field(default_factory=list)  # the parameters that the comment marks as out arguments
    codes: List[Tuple[str, str, bool]] = field(default_factory=list)  # name, cause, and whether the cause is a short one
    version: str = ""
    version_note: str = ""
    values: List[Tuple[str, str, str, str]] = field(default_factory=list)  # of an enumeration: name, value, meaning, remedy

    def brief(self) -> str:
        return next(content for kind, content in self.blocks if kind == "text")


@dataclass
class Header:
    groups: List[Group]
    items: Dict[str, Item]
    anchors: Dict[str, str]  # anchor to group
    shared_causes: Dict[str, str]  # of the codes whose cause most comments give in one word or two


def _lines(comment: str) -> List[str]:
    lines = comment.strip()[3:-2].split("\n")
    return [re.sub(r"^\s*\*? ?", "", line).rstrip() if i else line.strip() for i, line in enumerate(lines)]


def _blocks(lines: List[str]) -> List[Block]:
    """Paragraphs, headings, code, tables and lists of a comment without its marks."""
    blocks: List[Block] = []
    paragraph: List[str] = []

    def end_paragraph() -> None:
        if paragraph:
            blocks.append(("text", " ".join(paragraph)))
            paragraph.clear()

    i = 0
    while i < len(lines):
        line = lines[i]
        item = re.match(r" *(?:-|\d+\.) +(.*)", line)
        if line.startswith("@code"):
            end_paragraph()
            end = lines.index("@endcode", i)
            blocks.append(("code", "\n".join(lines[i + 1:end])))
            i = end
        elif line.startswith("@par "):
            end_paragraph()
            blocks.append(("heading", line[5:]))
        elif line.startswith("|"):
            end_paragraph()
            if not re.match(r"\|[-|]+\|$", line):
                row = [cell.strip() for cell in line.strip("|").split("|")]
                if blocks and blocks[-1][0] == "table":
                    blocks[-1][1].append(row)
                else:
                    blocks.append(("table", [row]))
        elif item:
            end_paragraph()
            text = [item.group(1)]
            while i + 1 < len(lines) and re.match(r" {2,}[^ -]", lines[i + 1]) and not re.match(r" *\d+\. ", lines[i + 1]):
                i += 1
                text.append(lines[i].strip())
            if not blocks or blocks[-1][0] != "list":
                blocks.append(("list", []))
            blocks[-1][1].append(" ".join(text))
        elif line.startswith("@anchor") or line in ("@{", "@}"):
            pass
        elif line == "":
            end_paragraph()
        else:
            paragraph.append(line.strip())
        i += 1
    end_paragraph()
    return blocks


def _tagged(lines: List[str]) -> Tuple[List[str], List[str]]:
    """The free text of a comment, and its pieces that begin with a tag, each as one line."""
    text: List[str] = []
    pieces: List[str] = []
    in_piece = False
    for line in lines:
        if re.match(r"@(param|retval|return)", line):
            pieces.append(line)
            in_piece = True
        elif in_piece and line:
            pieces[-1] += " " + line.strip()
        else:
            in_piece = False
            text.append(line)
    return text, pieces


def _parameters(declaration: str) -> List[Tuple[str, str]]:
    inside = declaration[declaration.rindex("(") + 1:declaration.rindex(")")]
    if inside == "void":
        return []
    found = []
    for one in inside.split(","):
        match = re.match(r"(.*?)(\w+)$", " ".join(one.split()))
        assert match, declaration
        found.append((match.group(1).strip(), match.group(2)))
    return found


def _read_tags(item: Item, pieces: List[str]) -> None:
    for piece in pieces:
        piece = " ".join(piece.split())
        if match := re.match(r"@param(\[out\])? (\w+) (.*)", piece):
            item.described[match.group(2)] = match.group(3)
            if match.group(1):
                item.outs.append(match.group(2))
        elif match := re.match(r"@retval (\w+) (.*)", piece):
            item.codes.append((match.group(1), match.group(2), False))
        elif item.codes:
            for name, cause in re.findall(r"(KORVANE_ERROR_\w+) \(([^)]*)\)", piece):
                item.codes.append((name, cause, True))
        else:
            item.returns = piece[len("@return "):]


def _take_version(item: Item) -> None:
    for i, (kind, content) in enumerate(item.blocks):
        if kind == "text" and (match := re.match(r"Lowest agent version: (any|\d+\.\d+)\. ?(.*)", content)):
            item.version, item.version_note = match.groups()
            del item.blocks[i]
            return


def _enumerators(body: str) -> List[Tuple[str, str, str, str]]:
    values = []
    for comment, name, value in re.findall(r"(/\*\*(?:(?!\*/).)*\*/)\s*(\w+) = (-?\d+),", body, re.DOTALL):
        texts = [content for _, content in _blocks(_lines(comment))]
        remedy = next((text[len("What to do: "):] for text in texts if text.startswith("What to do: ")), "")
        values.append((name, value, texts[0], remedy[:1].upper() + remedy[1:]))
    return values


def _item(group: Group, comment: str, declaration: str) -> Optional[Item]:
    forms = (("function", r"KORVANE_API (?P<result>[\w ]+?[ *]+)(?P<name>\w+)\("),
             ("callback", r"typedef (?P<result>\w+) \(\*(?P<name>\w+)\)\("),
             ("handle", r"typedef struct \w+ \*(?P<name>\w+);"), ("structure", r"struct (?P<name>\w+) \{"),
             ("enumeration", r"enum (?P<name>\w+) \{"))
    for kind, form in forms:
        if match := re.match(form, declaration):
            text, pieces = _tagged(_lines(comment))
            item = Item(kind, match.group("name"), group, declaration, _blocks(text))
            item.result = match.groupdict().get("result", "").strip()
            if kind in ("function", "callback"):
                item.parameters = _parameters(declaration)
            if kind == "enumeration":
                item.values = _enumerators(declaration)
            _read_tags(item, pieces)
            _take_version(item)
            return item
    return None


def _shared_causes(rules: Group) -> Dict[str, str]:
    text = next(content for kind, content in rules.blocks if kind == "text" and "in one word or two:" in content)
    causes = text[text.index("in one word or two:") + len("in one word or two:"):].strip().rstrip(".")
    return dict(part.strip().split(", ", 1) for part in causes.split(";"))


def sentence(text: str) -> str:
    """With a capital and a stop."""
    text = text if text.startswith("`") or text.startswith("korvane_") else text[:1].upper() + text[1:]
    return text if re.search(r"[.!?]$", text) else text + "."


def plain(text: str) -> str:
    """Without the marks of the comments."""
    text = re.sub(r'@ref \w+ "([^"]*)"', r"\1", text)
    return re.sub(r"@ref |[`#]", "", text)


def _owner(handle: Item) -> str:
    """The sentences of the comment of a handle type that state who owns it."""
    sentences = re.split(r"(?<=\.) ", handle.brief())
    return " ".join(one for one in sentences[0].split("; ")[1:] + sentences[1:]
                    if re.search(r"\b(owns?|valid|releas)", one))


def ownership(header: Header, item: Item, kind: str, name: str) -> str:
    """Who owns an argument of a function or callback, and how long it is used; empty for a plain value."""
    handle = re.sub(r"[* ]|const", "", kind)
    if name == "user_data":
        lifetime = "belongs to the application."
        if item.kind == "function":
            lifetime += " " + sentence(re.sub(r"^passed to (?:both|`callback` unchanged; may be NULL)[;.] ?", "",
                                              item.described[name]))
        return f"`{name}` {lifetime}"
    if handle in header.items and header.items[handle].kind == "handle":
        star = "*" if kind.endswith("*") else ""
        owner = _owner(header.items[handle])
        return f"`{star}{name}`, see {handle}: {owner}" if owner else ""
    if kind == "char **":
        return f"`*{name}` belongs to the application, which calls `free()` on it."
    if kind.endswith("*") and "const" not in kind:
        return f"`*{name}` is a variable of the application."
    if kind.endswith("*") and item.kind == "callback":
        return f"`{name}` belongs to the library and is valid during the call."
    if kind.endswith("*"):
        return f"`{name}` belongs to the application; the library reads it during the call only."
    return ""


def cause_of(header: Header, code: Tuple[str, str, bool]) -> str:
    """The cause of a result code of an item, in full."""
    name, cause, is_short = code
    return header.shared_causes.get(name, cause) if is_short else cause


def read_header(name: str, text: str) -> Header:
    """Reads one header; `name` is the one that applications include."""
    groups: List[Group] = []
    items: Dict[str, Item] = {}
    anchors: Dict[str, str] = {}
    # A comment, and the declaration that follows it without an empty line, if any.
    declaration = r"(?:KORVANE_API [^;]*;|typedef [^;]*;|(?:enum|struct) \w+ \{.*?\n\};)"
    for match in re.finditer(rf"^(/\*\*.*?\*/)(?:\n({declaration}))?", text, re.MULTILINE | re.DOTALL):
        comment, declared = match.groups()
        lines = _lines(comment)
        if group := re.search(r"@defgroup (\w+) (.*)", comment):
            start = next(i for i, line in enumerate(lines) if line.startswith("@defgroup"))
            groups.append(Group(name, group.group(1), group.group(2), _blocks(lines[start + 1:])))
            anchors.update((anchor, group.group(1)) for anchor in [group.group(1)] + re.findall(r"@anchor (\w+)", comment))
        elif declared and groups:
            if item := _item(groups[-1], comment, declared):
                items[item.name] = item
                groups[-1].members.append(item)
    return Header(groups, items, anchors, _shared_causes(groups[0]) if groups[0].name == "korvane_rules" else {})


def join(headers: List[Header]) -> Header:
    """Several headers as one, so that the pages of one refer to the others."""
    whole = Header([], {}, {}, {})
    for header in headers:
        whole.groups += header.groups
        whole.items.update(header.items)
        whole.anchors.update(header.anchors)
        whole.shared_causes.update(header.shared_causes)
    return whole
