# SPDX-License-Identifier: Apache-2.0
"""Result codes, and the exception that carries one."""

from enum import IntEnum

from korvane._results import CAUSES


class ErrorCode(IntEnum):
    """The result codes of the library."""

    NONE = 0
    INVALID_PARAMETER = -22
    OUT_OF_MEMORY = -12
    PERMISSION_DENIED = -13
    IO_ERROR = -5
    NO_DATA = -61
    NOT_SUPPORTED = -1073741822
    OPERATION_FAILED = -1073741825
    SERVICE_UNAVAILABLE = -1073741826
    AGENT_VERSION_LOWER = -1073741827


def code_of(number: int) -> "ErrorCode | int":
    """Return the number as an ErrorCode if it is one."""
    try:
        return ErrorCode(number)
    except ValueError:
        return number


class KorvaneError(Exception):
    """A call of the library failed.

    `code` is the result code, an ErrorCode; `function` is the C function that returned it. The text is
    "korvane_start: IO_ERROR: the link to the agent failed during the call".
    """

    def __init__(self, code: int, function: str) -> None:
        self.code = code_of(code)
        self.function = function
        if isinstance(self.code, ErrorCode):
            text = f"{self.code.name}: {CAUSES[self.code.name]}"
        else:
            text = f"unknown code {code}"
        super().__init__(f"{function}: {text}")


def is_refusal(code: int) -> bool:
    """Return whether the code means that the call has sent nothing and changed nothing."""
    return code in (
        ErrorCode.NOT_SUPPORTED,
        ErrorCode.AGENT_VERSION_LOWER,
        ErrorCode.INVALID_PARAMETER,
        ErrorCode.SERVICE_UNAVAILABLE,
    )
