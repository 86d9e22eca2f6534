# SPDX-License-Identifier: Apache-2.0
import sys
from typing import Any, Iterator, List

import pytest

import korvane
import korvane.glib
from korvane import ErrorCode
from korvane.testing import Agent


@pytest.fixture(autouse=True)
def default_handler() -> Iterator[None]:
    yield
    korvane.set_exception_handler(None)


def fail_in_a_handler(agent: Agent, device: korvane.Device) -> None:
    ran: List[int] = []

    @device.on_status_changed
    def fail(status: int) -> None:
        ran.append(status)
        raise ValueError("no display")

    agent.emit("status_changed_cb", 1)
    agent.run_until(lambda: bool(ran))


def test_a_handler_of_the_application_receives_them(korvane_agent: Agent, device: korvane.Device) -> None:
    seen: List[Any] = []
    korvane.set_exception_handler(lambda function, error: seen.append((function, str(error))))
    fail_in_a_handler(korvane_agent, device)
    assert seen == [("korvane_set_status_changed_cb", "no display")]


def test_the_unraisable_hook_receives_them(
    korvane_agent: Agent, device: korvane.Device, monkeypatch: pytest.MonkeyPatch
) -> None:
    seen: List[Any] = []
    monkeypatch.setattr(sys, "unraisablehook", seen.append)
    fail_in_a_handler(korvane_agent, device)
    assert [(each.exc_type, each.object) for each in seen] == [(ValueError, "korvane_set_status_changed_cb")]


def test_otherwise_they_are_printed(
    korvane_agent: Agent,
    device: korvane.Device,
    monkeypatch: pytest.MonkeyPatch,
    capsys: "pytest.CaptureFixture[str]",
) -> None:
    monkeypatch.setattr(sys, "unraisablehook", sys.__unraisablehook__)
    fail_in_a_handler(korvane_agent, device)
    printed = capsys.readouterr().err
    assert "Exception ignored in the callback of korvane_set_status_changed_cb" in printed
    assert "ValueError: no display" in printed and "in fail" in printed


def test_async_handlers_report_them_as_well(korvane_agent: Agent) -> None:
    seen: List[Any] = []
    korvane.set_exception_handler(lambda function, error: seen.append((function, str(error))))

    async def main() -> None:
        import asyncio

        with korvane.Device() as device:
            await device.wait_connected()

            @device.on_keepalive_result
            async def fail(value: int) -> None:
                raise ValueError("no display")

            device.start()
            device.sign_up_cloud(korvane.CloudInfo(access_token="token", user_id="user"))
            while not device.get_signin_status():
                await asyncio.sleep(0.01)
            device.send_keepalive()
            while not seen:
                await asyncio.sleep(0.01)

    korvane.glib.run(main())
    assert seen == [("korvane_set_keepalive_result_cb", "no display")]


def test_an_error_has_code_function_and_text(device: korvane.Device) -> None:
    with pytest.raises(korvane.KorvaneError) as raised:
        device.set_nick_name(-1, "lamp")
    assert raised.value.code is ErrorCode.INVALID_PARAMETER
    assert raised.value.function == "korvane_set_nick_name"
    assert str(raised.value).startswith("korvane_set_nick_name: INVALID_PARAMETER: ")
    assert str(korvane.KorvaneError(17, "korvane_start")) == "korvane_start: unknown code 17"


def test_a_text_with_a_nul_inside_is_refused(korvane_agent: Agent, device: korvane.Device) -> None:
    for call in (
        lambda: device.set_device_name("la\0mp"),
        lambda: device.set_language_list(["en\0GB"]),
        lambda: device.send_ap_list([korvane.AccessPoint("ho\0me")], 1),
        lambda: device.create_hdr_certificate("li\0ght", "", done=print),
    ):
        with pytest.raises(korvane.KorvaneError) as raised:
            call()
        assert raised.value.code == ErrorCode.INVALID_PARAMETER
    assert korvane_agent.count_calls("set_device_name") == 0


def test_secrets_are_not_printed() -> None:
    assert "token" not in repr(korvane.CloudInfo(access_token="token"))
