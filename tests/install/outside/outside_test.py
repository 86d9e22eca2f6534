# SPDX-License-Identifier: Apache-2.0
"""The test of an application in Python, beside an installed agent of the oldest and the newest version."""

import sys

import pytest
from korvane.testing import AgentError

APPLICATION = """
import asyncio

import korvane
import korvane.glib


async def main():
    device = korvane.Device(lambda status, reason: device.start())
    await asyncio.Event().wait()


korvane.glib.run(main())
"""


@pytest.mark.korvane_agent(version="1.0")
def test_the_oldest_agent_receives_the_start(korvane_agent):
    korvane_agent.start_application(sys.executable, "-c", APPLICATION)
    korvane_agent.wait_for_call("start")


@pytest.mark.korvane_agent(version="2.3")
def test_the_newest_agent_receives_the_start(korvane_agent):
    korvane_agent.start_application(sys.executable, "-c", APPLICATION)
    korvane_agent.wait_for_call("start")


def test_a_call_that_no_application_makes_is_missed(korvane_agent):
    with pytest.raises(AgentError):
        korvane_agent.wait_for_call("start", within=0.1)
