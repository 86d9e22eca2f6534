# SPDX-License-Identifier: Apache-2.0
"""What the functions of a device have in common: the session, and the forms of calls."""

import asyncio
from typing import Any, Callable, Optional, Tuple, TypeVar

from korvane._ffi import ffi
from korvane._registrations import Session
from korvane.errors import ErrorCode, KorvaneError
from korvane.subscription import Subscription

_T = TypeVar("_T")


class Calls:
    """The session of a korvane.Device. Classes divide its functions by subject."""

    _session: Optional[Session] = None

    @property
    def _handle(self) -> Any:
        return ffi.NULL if self._session is None else self._session.handle

    def _subscribe(
        self, set_function: str, ctypes: Tuple[str, ...], *handlers: Callable[..., object]
    ) -> Subscription:
        session = self._session
        if session is None or not all(map(callable, handlers)):
            raise KorvaneError(ErrorCode.INVALID_PARAMETER, set_function)
        slot = session.slot(set_function, ctypes)
        return Subscription(session, slot, slot.set(session.handle, handlers))

    def _request(
        self,
        function: str,
        ctype: str,
        arguments: Tuple[Any, ...],
        convert: Callable[..., _T],
        done: Optional[Callable[..., object]],
    ) -> "Optional[asyncio.Future[_T]]":
        session = self._session
        if session is None:
            raise KorvaneError(ErrorCode.INVALID_PARAMETER, function)
        if done is not None:
            session.request(function, ctype, arguments, done)
            return None
        future: "asyncio.Future[_T]" = asyncio.get_running_loop().create_future()

        def complete(*values: Any) -> None:
            if not future.done():
                future.set_result(convert(*values))

        def cancel() -> None:
            if not future.done():
                future.set_exception(KorvaneError(ErrorCode.OPERATION_FAILED, function))

        try:
            session.request(function, ctype, arguments, complete, cancel)
        except KorvaneError:
            if not future.done():  # the reply may have arrived in spite of the failure
                raise
        return future
