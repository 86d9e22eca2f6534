# SPDX-License-Identifier: Apache-2.0
import gc
import weakref
from typing import Any, Callable, List

import pytest

import korvane
from korvane import ErrorCode
from korvane.testing import Agent


class Handler:
    """A handler whose end a test observes."""

    def __init__(self, seen: List[Any], name: str) -> None:
        self.seen = seen
        self.name = name

    def __call__(self, *values: Any) -> None:
        self.seen.append(self.name)


def alive(reference: "weakref.ref[Handler]") -> bool:
    gc.collect()
    return reference() is not None


def arrives(agent: Agent, seen: List[Any]) -> List[Any]:
    """Emit a status; return what the handlers have noted when the event has arrived."""
    seen.clear()
    agent.emit("status_changed_cb", 1)
    agent.ask("state")  # the main context runs while this waits
    for _ in range(20):
        korvane.glib.iterate()
    return list(seen)


def test_a_handler_is_kept_without_a_reference_to_it(korvane_agent: Agent, device: korvane.Device) -> None:
    seen: List[Any] = []
    device.on_status_changed(Handler(seen, "a"))
    gc.collect()
    assert arrives(korvane_agent, seen) == ["a"]


def test_a_later_registration_replaces_the_earlier_one(korvane_agent: Agent, device: korvane.Device) -> None:
    seen: List[Any] = []
    first = Handler(seen, "a")
    reference = weakref.ref(first)
    earlier = device.on_status_changed(first)
    later = device.on_status_changed(Handler(seen, "b"))
    assert (earlier.active, later.active) == (False, True)
    del first, earlier
    assert not alive(reference)
    assert arrives(korvane_agent, seen) == ["b"]


def test_a_replaced_registration_unsets_nothing(korvane_agent: Agent, device: korvane.Device) -> None:
    seen: List[Any] = []
    earlier = device.on_status_changed(Handler(seen, "a"))
    device.on_status_changed(Handler(seen, "b"))
    earlier.unset()
    assert korvane_agent.count_calls("unset_status_changed_cb") == 0
    assert arrives(korvane_agent, seen) == ["b"]


def test_unset_releases_the_handler(korvane_agent: Agent, device: korvane.Device) -> None:
    seen: List[Any] = []
    handler = Handler(seen, "a")
    reference = weakref.ref(handler)
    with device.on_status_changed(handler):
        assert arrives(korvane_agent, seen) == ["a"]
    assert korvane_agent.count_calls("unset_status_changed_cb") == 1
    assert arrives(korvane_agent, seen) == []
    del handler
    assert not alive(reference)


def test_a_failed_registration_leaves_the_earlier_handler_to_the_library(
    korvane_agent: Agent, device: korvane.Device, failure_of: Callable[..., object]
) -> None:
    seen: List[Any] = []
    earlier = device.on_status_changed(Handler(seen, "a"))
    korvane_agent.fault("set_status_changed_cb", "result", -13)
    assert failure_of(device.on_status_changed, Handler(seen, "b")) == ErrorCode.PERMISSION_DENIED
    assert earlier.active
    earlier.unset()
    assert arrives(korvane_agent, seen) == []


def test_a_handler_may_end_its_own_registration(korvane_agent: Agent, device: korvane.Device) -> None:
    seen: List[Any] = []

    @device.on_status_changed
    def once(status: int) -> None:
        seen.append(status)
        once.unset()
        gc.collect()

    assert arrives(korvane_agent, seen) == [1]
    assert arrives(korvane_agent, seen) == []


def test_a_handler_may_close_its_device(korvane_agent: Agent, device: korvane.Device) -> None:
    seen: List[Any] = []

    @device.on_status_changed
    def close(status: int) -> None:
        device.close()
        gc.collect()
        seen.append(status)

    assert arrives(korvane_agent, seen) == [1]
    assert not close.active
    close.unset()


def test_the_end_of_the_session_releases_handlers_and_completions(
    korvane_agent: Agent, device: korvane.Device
) -> None:
    seen: List[Any] = []
    handlers = [Handler(seen, "event"), Handler(seen, "request")]
    references = [weakref.ref(handler) for handler in handlers]
    device.on_status_changed(handlers[0])
    korvane_agent.fault("get_group_id", "result", 0)  # accepted and never completed
    device.get_group_id(done=handlers[1])
    handlers.clear()
    assert [alive(reference) for reference in references] == [True, True]
    device.close()
    assert [alive(reference) for reference in references] == [False, False]
    assert seen == []


def test_reopen_keeps_the_connection_handler(korvane_agent: Agent) -> None:
    connected: List[int] = []

    def changed(status: korvane.ConnectionStatus, reason: int) -> None:
        connected.append(status)
        if len(connected) == 1:
            device.reopen()

    with korvane.Device(changed) as device:
        korvane_agent.run_until(lambda: len(connected) == 2)
        device.start()


def test_a_closed_device_refuses(failure_of: Callable[..., object], device: korvane.Device) -> None:
    device.close()
    device.close()
    assert not device.is_open and not device.is_connected
    assert failure_of(device.start) == ErrorCode.INVALID_PARAMETER
    assert failure_of(device.on_status_changed, print) == ErrorCode.INVALID_PARAMETER


def test_a_process_has_one_session(failure_of: Callable[..., object], device: korvane.Device) -> None:
    assert failure_of(korvane.Device) == ErrorCode.OPERATION_FAILED


@pytest.mark.parametrize("handler", [None, 7])
def test_what_cannot_be_called_is_refused(
    handler: Any, failure_of: Callable[..., object], device: korvane.Device
) -> None:
    assert failure_of(device.on_status_changed, handler) == ErrorCode.INVALID_PARAMETER
