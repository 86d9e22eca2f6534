# SPDX-License-Identifier: Apache-2.0
"""The registration of a handler."""

from types import TracebackType
from typing import Optional, Type

from korvane._registrations import Session, Slot, _Registration
from korvane.errors import ErrorCode, KorvaneError


class Subscription:
    """The registration of a handler for one event.

    Each event has at most one registration: a later one replaces this one. The end of the session ends it, and so does
    the end of a `with` block.
    """

    def __init__(self, session: Session, slot: Slot, registration: _Registration) -> None:
        self._session = session
        self._slot = slot
        self._registration = registration

    @property
    def active(self) -> bool:
        """Whether the handler receives events."""
        return self._slot.is_current(self._registration)

    def unset(self) -> None:
        """End the registration: the handler does not run any more.

        If the library refuses (SERVICE_UNAVAILABLE during an update), the registration stays; try again later. Any
        other KorvaneError has ended it. Does nothing if the registration is not active.
        """
        if not self.active:
            self._registration.node.muted = True
            return
        code = self._slot.unset(self._session.handle)
        if code != ErrorCode.NONE:
            raise KorvaneError(code, self._registration.node.function.replace("korvane_set_", "korvane_unset_"))

    def __enter__(self) -> "Subscription":
        return self

    def __exit__(
        self,
        exc_type: Optional[Type[BaseException]],
        exc: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        try:
            self.unset()
        finally:
            self._registration.node.muted = True
