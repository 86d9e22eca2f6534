# SPDX-License-Identifier: Apache-2.0
from korvane import ErrorCode, KorvaneError
from korvane._ffi import ffi
from korvane._results import CAUSES


def test_the_codes_are_those_of_the_header() -> None:
    in_header = ffi.typeof("enum korvane_error").relements
    assert {f"KORVANE_ERROR_{code.name}": code.value for code in ErrorCode} == in_header


def test_every_code_has_a_cause() -> None:
    assert [code.name for code in ErrorCode] == list(CAUSES)
    assert all(CAUSES.values())


def test_the_text_of_an_error_names_function_code_and_cause() -> None:
    assert str(KorvaneError(-5, "korvane_start")) == "korvane_start: IO_ERROR: the link to the agent failed during the call"
    assert str(KorvaneError(-1073741822, "korvane_start")) == "korvane_start: NOT_SUPPORTED: no agent is installed"
    assert str(KorvaneError(17, "korvane_start")) == "korvane_start: unknown code 17"
