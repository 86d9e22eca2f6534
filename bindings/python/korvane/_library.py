# SPDX-License-Identifier: Apache-2.0
"""Calls of C functions: Python arguments in, a value or a KorvaneError out."""

from typing import Any, Callable, List, Sequence, Union

from korvane._ffi import ffi
from korvane.errors import ErrorCode, KorvaneError

Text = Union[str, bytes]

lib: Any = ffi.dlopen("libkorvane.so.2")
_libc: Any = ffi.dlopen(None)

# Called after each call of the library: it may have added sources to the main context.
after_call: List[Callable[[], None]] = []


def text_to_c(text: Text, function: str) -> bytes:
    """Return the bytes of a text. A text with a NUL inside would be sent cut off, so it is refused."""
    data = text.encode("utf-8", "surrogateescape") if isinstance(text, str) else text
    if b"\0" in data:
        raise KorvaneError(ErrorCode.INVALID_PARAMETER, function)
    return data


def text_from_c(text: Any) -> str:
    """Return a C string as str. Bytes that are not UTF-8 become surrogates, which text_to_c() turns back."""
    return bytes(ffi.string(text)).decode("utf-8", "surrogateescape")


def texts_to_c(texts: Sequence[Text], function: str) -> List[Any]:
    """Return C strings, which live as long as the list."""
    return [ffi.new("char[]", text_to_c(text, function)) for text in texts]


def code_of_call(function: str, *arguments: Any) -> int:
    """Call a function and return its result code."""
    converted = [text_to_c(each, function) if isinstance(each, (str, bytes)) else each for each in arguments]
    try:
        return int(getattr(lib, function)(*converted))
    finally:
        for notify in after_call:
            notify()


def call(function: str, *arguments: Any) -> None:
    """Call a function; raise KorvaneError if it fails."""
    code = code_of_call(function, *arguments)
    if code != ErrorCode.NONE:
        raise KorvaneError(code, function)


def read_int(function: str, handle: Any) -> int:
    """Call a function whose last argument is an out argument for an int."""
    out = ffi.new("int *")
    call(function, handle, out)
    return int(out[0])


def read_bool(function: str, handle: Any) -> bool:
    """Call a function whose last argument is an out argument for a bool."""
    out = ffi.new("bool *")
    call(function, handle, out)
    return bool(out[0])


def take_text(out: Any, function: str) -> str:
    """Return the text that an out argument holds, and free it. Text of another JSON type is a failure."""
    if out[0] == ffi.NULL:
        raise KorvaneError(ErrorCode.OPERATION_FAILED, function)
    try:
        return text_from_c(out[0])
    finally:
        _libc.free(out[0])


def read_text(function: str, handle: Any) -> str:
    """Call a function whose last argument is an out argument for a text."""
    out = ffi.new("char **")
    call(function, handle, out)
    return take_text(out, function)
