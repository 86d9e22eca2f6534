# SPDX-License-Identifier: Apache-2.0
"""The fixture korvane_agent, with applications in processes of their own."""

import os

import pytest

from korvane.testing import Agent, AgentError


def test_an_application_in_c_is_watched(korvane_agent: Agent) -> None:
    application = korvane_agent.start_application(os.environ["FIRST_DEVICE"])
    korvane_agent.wait_for_call("start")
    korvane_agent.wait_for_call("stop")
    assert application.wait(30) == 0
    assert [entry["method"] for entry in korvane_agent.journal(method="stop")] == ["stop"]


@pytest.mark.parametrize("version", ["1.0", "2.3"])
def test_a_scenario_is_played(version: str) -> None:
    with Agent(version, scenario=os.environ["WASHER_SCENARIO"]) as agent:
        agent.start_application(os.environ["WASHER"], "--join-ms", "10")
        agent.play()


def test_a_fault_reaches_the_application(korvane_agent: Agent) -> None:
    korvane_agent.fault("start", "result", -13)
    assert korvane_agent.start_application(os.environ["FIRST_DEVICE"]).wait(30) == 1


@pytest.mark.korvane_agent(version="1.2")
def test_the_marker_chooses_the_version(korvane_agent: Agent) -> None:
    assert korvane_agent.ask("describe")["version"] == "1.2"


def test_a_missing_call_names_the_nearest_one(korvane_agent: Agent) -> None:
    korvane_agent.start_application(os.environ["FIRST_DEVICE"]).wait(30)
    with pytest.raises(AgentError, match=r'the nearest was entry 5: arguments.name is "", not "lamp"'):
        korvane_agent.wait_for_call("start", 0.1, name="lamp")


def test_a_wrong_state_is_described(korvane_agent: Agent) -> None:
    with pytest.raises(AgentError, match="stage"):
        korvane_agent.until("setup.stage", "done", 0.1)


def test_an_unknown_command_is_an_error(korvane_agent: Agent) -> None:
    with pytest.raises(AgentError):
        korvane_agent.ask("dance")


def test_the_report_of_a_failure_shows_the_journal(pytester: pytest.Pytester) -> None:
    pytester.makepyfile(
        """
        import os

        def test_wrong(korvane_agent):
            korvane_agent.start_application(os.environ["FIRST_DEVICE"]).wait(30)
            assert korvane_agent.count_calls("start") == 2
        """
    )
    result = pytester.runpytest_subprocess("-p", "no:cacheprovider")
    result.assert_outcomes(failed=1)
    result.stdout.fnmatch_lines(["*journal of the virtual agent*", '*"method": "start"*'])


def test_the_agent_ends_with_its_test(pytester: pytest.Pytester) -> None:
    pytester.makepyfile(
        """
        import os

        pids = []

        def test_first(korvane_agent):
            pids.append(korvane_agent.pid)

        def test_second(korvane_agent):
            assert korvane_agent.pid != pids[0]
            try:
                os.kill(pids[0], 0)
            except ProcessLookupError:
                return
            assert False, "the first agent runs"
        """
    )
    pytester.runpytest_subprocess("-p", "no:cacheprovider").assert_outcomes(passed=2)
