# SPDX-License-Identifier: Apache-2.0
"""A session with the agent: every function of the library."""

import asyncio
from enum import IntEnum
from types import TracebackType
from typing import Callable, List, Optional, Type

from korvane._cloud import CloudFunctions
from korvane._core import CoreFunctions
from korvane._ffi import ffi
from korvane._identity import IdentityFunctions
from korvane._library import call
from korvane._registrations import Node, Session, trampoline
from korvane._setup import SetupFunctions
from korvane._sub_devices import SubDeviceFunctions
from korvane._wifi import WifiFunctions
from korvane.errors import ErrorCode, KorvaneError, code_of

# The session that the library refused to end when its device was closed, for instance because no agent is installed at
# that moment. Its handlers are muted. The next attempt to open a session ends it.
_unended: List[Session] = []


class ConnectionStatus(IntEnum):
    """States of the connection to the agent."""

    CONNECTED = 0
    DISCONNECTED = 1
    REJECTED = 2


class Device(
    CoreFunctions, WifiFunctions, SetupFunctions, CloudFunctions, IdentityFunctions, SubDeviceFunctions
):
    """A session with the agent. A process can have one at a time.

    The methods have the names, arguments and rules of korvane.h without the prefix; its descriptions name the result
    codes. A method returns its value or raises KorvaneError. Use everything from the thread that runs the main loop.

    A handler may be a function or an `async def` function, which then runs on the running asyncio loop. It may call any
    method, close() included. Views that it receives are valid as their classes describe. An exception that leaves it is
    reported: see set_exception_handler().
    """

    def __init__(self, on_connection: Optional[Callable[[ConnectionStatus, "ErrorCode | int"], object]] = None) -> None:
        """Begin to connect to the agent.

        `on_connection` is called with each change of the connection and its reason: NONE, SERVICE_UNAVAILABLE if an
        update of the agent is the cause, or for a rejection PERMISSION_DENIED or IO_ERROR. Requests fail until it
        receives CONNECTED; wait_connected() waits for that.
        """
        self._on_connection = on_connection
        self._status: Optional[ConnectionStatus] = None
        self._reason = 0
        self._waiting: List["asyncio.Future[None]"] = []
        self.reopen()

    def reopen(self) -> None:
        """End the session, if there is one, and begin another. Registrations and one-shot requests do not survive."""
        while _unended:
            if (code := _unended[-1].close()) != ErrorCode.NONE:
                raise KorvaneError(code, "korvane_deinitialize")
            _unended.pop()
        self._end_session()
        node = Node("korvane_initialize", (self._connection_changed,))
        user_data = ffi.new_handle(node)
        out = ffi.new("korvane_h *")
        call("korvane_initialize", out, trampoline("korvane_connection_status_cb"), user_data)
        self._session = Session(out[0], node, user_data)

    def close(self) -> None:
        """End the session; no handler runs afterwards.

        If the library refuses (no agent is installed at the moment), the handlers are muted, and the next session of
        this process ends this one first.
        """
        try:
            self._end_session()
        except KorvaneError:
            assert self._session is not None
            self._session.mute()
            _unended.append(self._session)
            self._session = None

    def _end_session(self) -> None:
        session, self._session = self._session, None
        if session is not None and (code := session.close()) != ErrorCode.NONE:
            self._session = session
            raise KorvaneError(code, "korvane_deinitialize")
        self._status = None
        self._finish_waiting()

    def __enter__(self) -> "Device":
        return self

    def __exit__(
        self,
        exc_type: Optional[Type[BaseException]],
        exc: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.close()

    @property
    def is_open(self) -> bool:
        """Whether a session exists. It need not be connected."""
        return self._session is not None

    @property
    def is_connected(self) -> bool:
        """Whether the last change of the connection was CONNECTED."""
        return self._status == ConnectionStatus.CONNECTED

    async def wait_connected(self) -> None:
        """Wait until the agent is connected. Raises KorvaneError if it rejects the connection or the session ends."""
        if self._status is None and self._session is not None:
            future: "asyncio.Future[None]" = asyncio.get_running_loop().create_future()
            self._waiting.append(future)
            await future
        if not self.is_connected:
            raise KorvaneError(self._reason or ErrorCode.OPERATION_FAILED, "korvane_initialize")

    def _connection_changed(self, status: int, reason: int) -> object:
        self._status = ConnectionStatus(status)
        self._reason = reason
        self._finish_waiting()
        if self._on_connection is None:
            return None
        return self._on_connection(self._status, code_of(reason))

    def _finish_waiting(self) -> None:
        waiting, self._waiting = self._waiting, []
        for future in waiting:
            if not future.done():
                future.set_result(None)
