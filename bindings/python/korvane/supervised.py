# SPDX-License-Identifier: Apache-2.0
"""A connection that is made again after each end, update or installation of the agent: libkorvane-util in Python."""

import asyncio
from enum import IntEnum
from functools import lru_cache
from types import TracebackType
from typing import Any, Callable, List, Optional, Type

from korvane import _library
from korvane._ffi import ffi
from korvane._registrations import Node, Session, report_exception
from korvane.device import Device
from korvane.errors import ErrorCode, KorvaneError, code_of

_CONNECT = "korvane_util_connect"

# Sessions of closed connections that the library has not ended, because no agent was installed. It ends them before it
# begins another one.
_unended: List[Session] = []

# The connections that are not closed. The library refers to them.
_open: "List[SupervisedConnection]" = []


class SupervisedState(IntEnum):
    """States of a supervised connection. Each but CONNECTING, CONNECTED and REFUSED is followed by another attempt."""

    CONNECTING = 0
    CONNECTED = 1  # the agent is connected, and the device is configured
    NOT_INSTALLED = 2
    UPDATING = 3
    UNREACHABLE = 4  # the agent does not run or does not reply
    LOST = 5
    NOT_CONFIGURED = 6  # the configure function has failed
    REFUSED = 7  # the agent or the platform denies the connection


@lru_cache(maxsize=None)
def _util() -> Any:
    return ffi.dlopen("libkorvane-util.so.1")


def _call(function: str, *arguments: Any) -> Any:
    try:
        return getattr(_util(), function)(*arguments)
    finally:
        for notify in _library.after_call:
            notify()


def _end(sessions: List[Session]) -> None:
    while sessions:
        sessions.pop().end()


class _Connected(Device):
    """The device of a supervised connection, which begins and ends its sessions."""

    def __init__(self) -> None:
        self._on_connection = None
        self._status = None
        self._reason = 0
        self._waiting = []
        self._session = None

    def reopen(self) -> None:
        raise KorvaneError(ErrorCode.INVALID_PARAMETER, "korvane_initialize")

    def close(self) -> None:
        raise KorvaneError(ErrorCode.INVALID_PARAMETER, "korvane_deinitialize")

    @property
    def is_connected(self) -> bool:
        return self._session is not None

    async def wait_connected(self) -> None:
        if not self.is_connected:
            raise KorvaneError(ErrorCode.OPERATION_FAILED, _CONNECT)


class SupervisedConnection:
    """A connection that survives its agent. A process can have one at a time.

    `configure` is called with a Device after each connection, because a new connection has no registrations. It registers
    handlers, describes the device and starts the service. After an exception that leaves it, the connection is closed and tried
    again; after a KorvaneError with PERMISSION_DENIED it is closed. It is no `async def` function. It may call any method but
    on_rpc_io_error(), which the connection itself uses. The Device is the same object each time; the connection begins and
    ends its sessions.

    `on_state` is called with each change of the state and its reason, a result code. It may be an `async def` function.

    Both run from the GLib main loop: see korvane.glib.
    """

    def __init__(
        self,
        configure: Callable[[Device], object],
        on_state: Optional[Callable[[SupervisedState, "ErrorCode | int"], object]] = None,
    ) -> None:
        """Begin to connect."""
        if not callable(configure):
            raise KorvaneError(ErrorCode.INVALID_PARAMETER, _CONNECT)
        self._configure_device = configure
        self._on_state = Node(_CONNECT, (on_state or (lambda state, reason: None),))
        self._device = _Connected()
        self._former: List[Session] = []  # lost, and perhaps not ended yet
        self._connected: "List[asyncio.Future[None]]" = []
        self._user_data = ffi.new_handle(self)
        out = ffi.new("korvane_util_connection_h *")
        code = _call(_CONNECT, _configure_callback, _state_callback, self._user_data, out)
        if code != ErrorCode.NONE:
            raise KorvaneError(code, _CONNECT)
        self._handle = out[0]
        _open.append(self)

    @property
    def device(self) -> Optional[Device]:
        """The device while it is connected, otherwise None. Do not keep it: ask again for each use."""
        if self._handle == ffi.NULL or _call("korvane_util_get_handle", self._handle) == ffi.NULL:
            return None
        return self._device

    async def wait_connected(self) -> Device:
        """Wait until the agent is connected and the device is configured, and return the device.

        Raises KorvaneError if the connection is closed while it waits.
        """
        while (device := self.device) is None:
            if self._handle == ffi.NULL:
                raise KorvaneError(ErrorCode.OPERATION_FAILED, _CONNECT)
            future: "asyncio.Future[None]" = asyncio.get_running_loop().create_future()
            self._connected.append(future)
            await future
        return device

    def connect_now(self) -> None:
        """Try to connect now instead of after the delay; in the state REFUSED, begin again.

        Does nothing while connected or connecting.
        """
        _call("korvane_util_connect_now", self._handle)

    def close(self) -> None:
        """End the connection and the session; no handler runs afterwards. Does not stop the agent's service."""
        handle, self._handle = self._handle, ffi.NULL
        if handle == ffi.NULL:
            return
        _open.remove(self)
        code = _call("korvane_util_disconnect", handle)
        self._lose_session()
        self._finish_waiting()
        if code == ErrorCode.NONE:
            _end(self._former)
        else:
            _unended.extend(self._former)

    def __enter__(self) -> "SupervisedConnection":
        return self

    def __exit__(
        self,
        exc_type: Optional[Type[BaseException]],
        exc: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.close()

    def _lose_session(self) -> None:
        """The handlers of the session are not called any more. Its nodes stay until the library has ended it."""
        session, self._device._session = self._device._session, None
        if session is not None:
            self._former.append(session)
            session.lose()

    def _finish_waiting(self) -> None:
        waiting, self._connected = self._connected, []
        for future in waiting:
            if not future.done():
                future.set_result(None)

    def _connection_made(self, handle: Any) -> int:
        # The library has one session at a time, so it has ended the earlier ones.
        self._lose_session()
        _end(self._former)
        _end(_unended)
        if self._handle == ffi.NULL:
            return ErrorCode.NONE  # a handler of an earlier session has closed the connection
        self._device._session = Session(handle, Node(_CONNECT, ()), None)
        return self._run_configure()  # after a failure, the change of state ends the session

    def _run_configure(self) -> int:
        try:
            result = self._configure_device(self._device)
            if not asyncio.iscoroutine(result):
                return ErrorCode.NONE
            result.close()
            raise TypeError("the configure function of a supervised connection must not be an 'async def' function")
        except KorvaneError as error:
            return int(error.code)
        except BaseException as error:
            report_exception(_CONNECT, error)
            return ErrorCode.OPERATION_FAILED

    def _change_state(self, state: int, reason: int) -> None:
        if state == SupervisedState.CONNECTED:
            self._finish_waiting()
        else:
            self._lose_session()
        if self._handle != ffi.NULL:
            self._on_state.run(0, (SupervisedState(state), code_of(reason)))


def _configure(handle: Any, user_data: Any) -> int:
    connection: SupervisedConnection = ffi.from_handle(user_data)
    return connection._connection_made(handle)


def _state_changed(state: int, result: int, handle: Any, user_data: Any) -> None:
    connection: SupervisedConnection = ffi.from_handle(user_data)
    connection._change_state(state, result)


_configure_callback = ffi.callback("korvane_util_configure_cb", _configure, error=int(ErrorCode.OPERATION_FAILED))
_state_callback = ffi.callback("korvane_util_state_cb", _state_changed)
