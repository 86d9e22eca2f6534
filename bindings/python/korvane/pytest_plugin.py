# SPDX-License-Identifier: Apache-2.0
"""pytest fixture `korvane_agent`: a private virtual agent for each test.

The marker sets the arguments of korvane.testing.Agent:

    @pytest.mark.korvane_agent(version="1.4", scenario="setup.json")
    def test_setup(korvane_agent):
        korvane_agent.start_application("./my-device")
        korvane_agent.play()

The report of a test that fails shows the agent's journal.
"""

import json
from typing import Any, Generator, Iterator

import pytest

from korvane.testing import Agent


def pytest_configure(config: pytest.Config) -> None:
    """Describe the marker."""
    config.addinivalue_line("markers", "korvane_agent(version, scenario, ...): arguments of the test's virtual agent")


@pytest.fixture
def korvane_agent(request: pytest.FixtureRequest) -> Iterator[Agent]:
    """A virtual agent that runs during the test."""
    marker = request.node.get_closest_marker("korvane_agent")
    with Agent(*marker.args, **marker.kwargs) if marker else Agent() as agent:
        yield agent


@pytest.hookimpl(hookwrapper=True)  # type: ignore[misc]  # pluggy has no types
def pytest_runtest_makereport(item: pytest.Item) -> Generator[None, Any, None]:
    """Add the journal to the report of a failure."""
    outcome = yield
    report = outcome.get_result()
    agent = getattr(item, "funcargs", {}).get("korvane_agent")
    if report.when != "call" or not report.failed or not isinstance(agent, Agent):
        return
    try:
        lines = [json.dumps(entry) for entry in agent.journal()]
    except Exception as error:  # the agent may have ended
        lines = [f"the journal cannot be read: {error}"]
    report.sections.append(("journal of the virtual agent", "\n".join(lines)))
