# SPDX-License-Identifier: Apache-2.0
import asyncio
import gc
import weakref
from pathlib import Path
from typing import Any, Callable, Iterator, List, Tuple

import pytest

import korvane
import korvane.glib
from korvane import ErrorCode, SupervisedConnection, SupervisedState
from korvane.testing import Agent

Change = Tuple[SupervisedState, "ErrorCode | int"]


class Application:
    """An application with a supervised connection that notes what happens."""

    def __init__(self, agent: Agent) -> None:
        self.agent = agent
        self.configured = 0
        self.changes: List[Change] = []
        self.waited = 0  # the changes that wait_for() has seen
        self.seen: List[int] = []

    def configure(self, device: korvane.Device) -> None:
        self.configured += 1
        number = self.configured
        device.on_status_changed(lambda status: self.seen.append(number))
        device.start()

    def changed(self, state: SupervisedState, reason: "ErrorCode | int") -> None:
        self.changes.append((state, reason))

    def states(self) -> List[SupervisedState]:
        return [state for state, _ in self.changes]

    def wait_for(self, state: SupervisedState) -> None:
        """Wait until the connection is in the state, or has been since the last wait: it may have left it already."""

        def was_reached() -> bool:
            states = self.states()
            return state in states[self.waited :] or states[-1:] == [state]

        self.agent.run_until(was_reached)
        self.waited = len(self.changes)

    def receivers(self) -> List[int]:
        """Emit a status; return the numbers of the connections whose handlers receive it."""
        self.seen.clear()
        self.agent.emit("status_changed_cb", 1)
        self.agent.run_until(lambda: bool(self.seen))
        return list(self.seen)


@pytest.fixture
def application(korvane_agent: Agent) -> Iterator[Application]:
    made = Application(korvane_agent)
    yield made
    for connection in list(korvane.supervised._open):
        connection.close()


def test_it_gives_a_device_for_each_connection(application: Application, failure_of: Callable[..., object]) -> None:
    with SupervisedConnection(application.configure, application.changed) as connection:
        assert connection.device is None
        application.wait_for(SupervisedState.CONNECTED)
        assert application.changes == [(SupervisedState.CONNECTED, ErrorCode.NONE)]
        device = connection.device
        assert device is not None and device.is_connected and not device.get_easysetup_status()
        assert application.receivers() == [1]

        application.agent.ask("restart")
        application.wait_for(SupervisedState.LOST)
        assert connection.device is None and not device.is_connected
        assert failure_of(device.get_easysetup_status) == ErrorCode.INVALID_PARAMETER

        application.wait_for(SupervisedState.CONNECTED)
        assert connection.device is device
        assert application.receivers() == [2]
    assert connection.device is None and not device.is_open


@pytest.mark.korvane_agent(version="1.6")
def test_it_waits_for_the_end_of_an_update(application: Application) -> None:
    with SupervisedConnection(application.configure, application.changed):
        application.wait_for(SupervisedState.CONNECTED)
        application.agent.ask("update start")
        application.agent.ask("update install")
        application.agent.run_until(lambda: application.states()[-1] != SupervisedState.CONNECTED)
        application.agent.ask("update complete 2.3")
        application.wait_for(SupervisedState.CONNECTED)
        assert application.configured == 2
        assert application.receivers() == [2]


def test_an_error_that_leaves_the_configure_function_is_its_result(application: Application) -> None:
    application.agent.fault("start", "result", -1)
    with SupervisedConnection(application.configure, application.changed) as connection:
        application.wait_for(SupervisedState.CONNECTED)
        assert application.changes == [
            (SupervisedState.NOT_CONFIGURED, ErrorCode.OPERATION_FAILED),
            (SupervisedState.CONNECTED, ErrorCode.NONE),
        ]
        assert application.receivers() == [2]
        assert connection.device is not None


def test_other_exceptions_are_reported(application: Application) -> None:
    reported: List[Tuple[str, BaseException]] = []
    korvane.set_exception_handler(lambda function, error: reported.append((function, error)))
    try:

        def configure(device: korvane.Device) -> None:
            raise ValueError("not ready")

        with SupervisedConnection(configure, application.changed):
            application.wait_for(SupervisedState.NOT_CONFIGURED)

        async def asynchronous(device: korvane.Device) -> None:
            raise AssertionError("must not run")

        with SupervisedConnection(asynchronous, application.changed):
            application.agent.run_until(lambda: len(reported) > 1)
    finally:
        korvane.set_exception_handler(None)
    assert [function for function, _ in reported[:2]] == ["korvane_util_connect"] * 2
    assert [type(error) for _, error in reported[:2]] == [ValueError, TypeError]


def test_a_refused_connection_tries_again_on_request(application: Application) -> None:
    def configure(device: korvane.Device) -> None:
        application.configured += 1
        if application.configured == 1:
            raise korvane.KorvaneError(ErrorCode.PERMISSION_DENIED, "test")

    with SupervisedConnection(configure, application.changed) as connection:
        application.wait_for(SupervisedState.REFUSED)
        assert connection.device is None
        connection.connect_now()
        application.wait_for(SupervisedState.CONNECTED)


def test_a_lost_connection_ends_registrations_and_requests(application: Application) -> None:
    kept: List[korvane.Subscription] = []

    async def main() -> None:
        def configure(device: korvane.Device) -> None:
            if not kept:
                kept.append(device.on_status_changed(lambda status: None))

        with SupervisedConnection(configure, application.changed) as connection:
            device = await connection.wait_connected()
            assert kept[0].active
            application.agent.fault("get_group_id", "result", 0)  # accepts the request, and does not serve it
            request = asyncio.ensure_future(device.get_group_id())
            await asyncio.sleep(0)
            assert not request.done()
            await asyncio.to_thread(application.agent.ask, "restart")
            with pytest.raises(korvane.KorvaneError) as raised:
                await request
            assert raised.value.code == ErrorCode.OPERATION_FAILED
            assert not kept[0].active
            kept[0].unset()

    korvane.glib.run(main())


def test_its_device_cannot_be_closed_or_opened_again(
    application: Application, failure_of: Callable[..., object]
) -> None:
    with SupervisedConnection(application.configure, application.changed) as connection:
        application.wait_for(SupervisedState.CONNECTED)
        assert connection.device is not None
        assert failure_of(connection.device.close) == ErrorCode.INVALID_PARAMETER
        assert failure_of(connection.device.reopen) == ErrorCode.INVALID_PARAMETER
        assert application.receivers() == [1]


def test_it_can_be_closed_in_its_functions(application: Application) -> None:
    connections: List[SupervisedConnection] = []

    def configure(device: korvane.Device) -> None:
        application.configure(device)
        connections[-1].close()

    connections.append(SupervisedConnection(configure, application.changed))
    application.agent.run_until(lambda: application.configured == 1)
    assert application.changes == [] and korvane.supervised._open == []

    def changed(state: SupervisedState, reason: "ErrorCode | int") -> None:
        application.changed(state, reason)
        connections[-1].close()

    connections.append(SupervisedConnection(application.configure, changed))
    application.wait_for(SupervisedState.CONNECTED)
    assert connections[-1].device is None and korvane.supervised._open == []
    connections[-1].close()


class Handler:
    def __call__(self, *values: Any) -> None:
        pass


def test_handlers_are_released_with_their_session(application: Application) -> None:
    handlers: List["weakref.ref[Handler]"] = []

    def configure(device: korvane.Device) -> None:
        handler = Handler()
        handlers.append(weakref.ref(handler))
        device.on_status_changed(handler)

    with SupervisedConnection(configure, application.changed):
        application.wait_for(SupervisedState.CONNECTED)
        application.agent.ask("restart")
        application.agent.run_until(lambda: len(handlers) == 2)
        gc.collect()
        assert handlers[0]() is None and handlers[1]() is not None
    gc.collect()
    assert handlers[1]() is None


def test_handlers_stay_until_the_library_can_end_their_session(
    application: Application, failure_of: Callable[..., object]
) -> None:
    handlers: List["weakref.ref[Handler]"] = []

    def configure(device: korvane.Device) -> None:
        handler = Handler()
        handlers.append(weakref.ref(handler))
        device.on_status_changed(handler)

    package = next(Path(application.agent.directory).glob("packages/*.package"))
    content = package.read_text()
    with SupervisedConnection(configure, application.changed):
        application.wait_for(SupervisedState.CONNECTED)
        package.unlink()
        # The library looks for the agent again, and then refuses every call.
        assert failure_of(korvane.Device) == ErrorCode.NOT_SUPPORTED
    gc.collect()
    assert handlers[0]() is not None
    package.write_text(content)
    with SupervisedConnection(configure, application.changed):
        application.agent.run_until(lambda: len(handlers) == 2)
        gc.collect()
        assert handlers[0]() is None


def test_there_is_one_at_a_time(application: Application, failure_of: Callable[..., object]) -> None:
    with SupervisedConnection(application.configure):
        assert failure_of(SupervisedConnection, application.configure) == ErrorCode.OPERATION_FAILED
        assert failure_of(SupervisedConnection, None) == ErrorCode.INVALID_PARAMETER


def test_waiting_ends_when_the_connection_is_closed(application: Application) -> None:
    async def main() -> None:
        connection = SupervisedConnection(application.configure)
        # Without the loop, which could connect before the connection is closed.
        waiting = connection.wait_connected()
        waiting.send(None)
        connection.close()
        with pytest.raises(korvane.KorvaneError) as raised:
            waiting.send(None)
        assert raised.value.code == ErrorCode.OPERATION_FAILED

    korvane.glib.run(main())


def test_a_connection_without_a_reference_goes_on(application: Application) -> None:
    SupervisedConnection(application.configure, application.changed)
    gc.collect()
    application.wait_for(SupervisedState.CONNECTED)
    assert application.receivers() == [1]
