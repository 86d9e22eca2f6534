"""Tests of the application with a virtual agent, the fixture korvane_agent."""

import sys
from pathlib import Path

import pytest
from korvane.testing import Agent

PROGRAM = str(Path(__file__).with_name("main.py"))


def test_the_phone_provisions_the_device(korvane_agent: Agent) -> None:
    korvane_agent.start_application(sys.executable, PROGRAM)
    korvane_agent.wait_for_call("start")
    korvane_agent.phone("connect")
    korvane_agent.phone("scan")
    korvane_agent.until("setup.networks.0.ssid", "home")


@pytest.mark.korvane_agent(version="1.0")
def test_the_device_connects_again(korvane_agent: Agent) -> None:
    korvane_agent.start_application(sys.executable, PROGRAM)
    korvane_agent.wait_for_call("start")
    korvane_agent.ask("restart")
    korvane_agent.wait_for_call("start", within=10)
