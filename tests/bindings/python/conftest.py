# SPDX-License-Identifier: Apache-2.0
from typing import Callable, Iterator

import pytest

import korvane
from korvane.testing import Agent

pytest_plugins = ["pytester"]


@pytest.fixture
def device(korvane_agent: Agent) -> Iterator[korvane.Device]:
    """A device that is connected to the test's agent."""
    with korvane.Device() as opened:
        korvane_agent.run_until(lambda: opened.is_connected)
        yield opened


@pytest.fixture
def failure_of() -> Callable[..., object]:
    """Call a function that must fail; return the code."""

    def call(function: Callable[..., object], *arguments: object) -> object:
        with pytest.raises(korvane.KorvaneError) as raised:
            function(*arguments)
        return raised.value.code

    return call
