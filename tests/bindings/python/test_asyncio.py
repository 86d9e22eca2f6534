# SPDX-License-Identifier: Apache-2.0
import asyncio
from typing import Any, List

import pytest

import korvane
import korvane.glib
from korvane import ErrorCode
from korvane.testing import Agent


def test_requests_are_awaited(korvane_agent: Agent) -> None:
    korvane_agent.ask("personality owned-and-signed-in")

    async def main() -> List[Any]:
        with korvane.Device() as device:
            await device.wait_connected()
            group, token = await asyncio.gather(device.get_group_id(), device.create_hdr_token_info())
            certificate = await device.create_hdr_certificate("light", "no request")
            found = await device.get_hdr_certificate("light", "none")
            custom = await device.create_hdr_token_info_custom("{}")
            return [await device.start_async(), bool(group), token.token is not None, certificate.result != 0,
                    found.result != 0, custom.result]

    assert korvane.glib.run(asyncio.wait_for(main(), 30)) == [0, True, True, True, True, 0]


def test_async_handlers_run_on_the_loop(korvane_agent: Agent) -> None:
    async def main() -> List[int]:
        seen: List[int] = []
        with korvane.Device() as device:
            await device.wait_connected()
            finished = asyncio.Event()

            @device.on_keepalive_result
            async def result(value: int) -> None:
                await asyncio.sleep(0)
                seen.append(value)
                finished.set()

            @device.on_signin_status_changed
            def signed_in(status: bool) -> None:
                device.send_keepalive()

            device.start()
            device.sign_up_cloud(korvane.CloudInfo(access_token="token", user_id="user"))
            await asyncio.wait_for(finished.wait(), 30)
        return seen

    assert korvane.glib.run(main()) == [0]


def test_the_loop_sleeps_while_nothing_happens(korvane_agent: Agent) -> None:
    async def main() -> int:
        with korvane.Device() as device:
            await device.wait_connected()
            rounds = 0
            loop = asyncio.get_running_loop()
            end = loop.time() + 0.5
            select = loop._selector.select  # type: ignore[attr-defined]

            def counted(timeout: Any = None) -> Any:
                nonlocal rounds
                rounds += 1
                return select(timeout)

            loop._selector.select = counted  # type: ignore[attr-defined]
            await asyncio.sleep(end - loop.time())
            return rounds

    assert korvane.glib.run(main()) < 20


def test_a_device_that_is_opened_later_connects(korvane_agent: Agent) -> None:
    async def main() -> None:
        await asyncio.sleep(0.1)
        with korvane.Device() as device:
            await asyncio.wait_for(device.wait_connected(), 5)

    korvane.glib.run(main())


def test_sources_that_are_added_while_asyncio_sleeps_are_dispatched(korvane_agent: Agent) -> None:
    """GLib does not report sources of the same thread: a call of the library looks for them, and so does wake()."""
    glib = pytest.importorskip("gi.repository.GLib")

    async def main() -> None:
        with korvane.Device() as device:
            await device.wait_connected()
            for report in (device.get_device_id, korvane.glib.wake):
                await asyncio.sleep(0.05)
                ran = asyncio.Event()
                glib.idle_add(lambda ran=ran: ran.set())
                report()
                await asyncio.wait_for(ran.wait(), 5)

    korvane.glib.run(main())


def test_the_end_of_the_session_fails_what_is_awaited(korvane_agent: Agent) -> None:
    korvane_agent.fault("get_group_id", "result", 0)  # accepted and never completed

    async def main() -> None:
        device = korvane.Device()
        await device.wait_connected()
        future = device.get_group_id()
        device.close()
        with pytest.raises(korvane.KorvaneError) as raised:
            await future
        assert raised.value.code == ErrorCode.OPERATION_FAILED

    korvane.glib.run(main())


def test_a_request_that_fails_raises_at_once(korvane_agent: Agent) -> None:
    korvane_agent.fault("get_group_id", "result", -13)

    async def main() -> None:
        with korvane.Device() as device:
            await device.wait_connected()
            with pytest.raises(korvane.KorvaneError) as raised:
                device.get_group_id()
            assert raised.value.code == ErrorCode.PERMISSION_DENIED

    korvane.glib.run(main())


@pytest.mark.korvane_agent(arguments=["--refuse"])
def test_a_rejection_is_raised(korvane_agent: Agent) -> None:
    async def main() -> None:
        with korvane.Device() as device:
            with pytest.raises(korvane.KorvaneError) as raised:
                await device.wait_connected()
            assert raised.value.code == ErrorCode.PERMISSION_DENIED

    korvane.glib.run(main())


def test_a_glib_loop_of_pygobject_works(korvane_agent: Agent) -> None:
    glib = pytest.importorskip("gi.repository.GLib")
    loop = glib.MainLoop()
    with korvane.Device(lambda status, reason: loop.quit()) as device:
        timer = glib.timeout_add_seconds(30, loop.quit)
        loop.run()
        glib.source_remove(timer)
        assert device.is_connected
