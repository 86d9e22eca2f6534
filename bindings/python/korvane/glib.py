# SPDX-License-Identifier: Apache-2.0
"""The GLib main context, which delivers the library's events, inside an asyncio loop or a loop of one's own.

asyncio waits for the descriptors and the next timeout of the context, and the context dispatches what is due. With
PyGObject none of this is needed: GLib.MainLoop runs the same context.
"""

import asyncio
import time
from contextlib import asynccontextmanager
from typing import Any, AsyncIterator, Callable, Coroutine, Optional, Set, TypeVar

from korvane import _library
from korvane._ffi import ffi

_T = TypeVar("_T")

_glib: Any = ffi.dlopen("libglib-2.0.so.0")

_IN, _PRI, _OUT = 0x1, 0x2, 0x4
_MAX_DISPATCHES = 100  # in one go, so that asyncio's own tasks run as well


def iterate(may_block: bool = False) -> bool:
    """Dispatch what is due on the default main context, and return whether anything was. Wait if `may_block`."""
    return bool(_glib.g_main_context_iteration(ffi.NULL, may_block))


def run_until(condition: Callable[[], bool], timeout: float = 5.0) -> bool:
    """Run the default main context until a condition holds. Return False if it does not within `timeout` seconds."""
    end = time.monotonic() + timeout
    while not condition():
        if time.monotonic() >= end:
            return False
        if not iterate():
            time.sleep(0.001)
    return True


class _Pump:
    """Runs the default main context inside an asyncio loop."""

    def __init__(self, loop: asyncio.AbstractEventLoop) -> None:
        self._loop = loop
        self._context = _glib.g_main_context_default()
        self._readers: Set[int] = set()
        self._writers: Set[int] = set()
        self._timer: Optional[asyncio.TimerHandle] = None
        self._due: Optional[asyncio.Handle] = None

    def start(self) -> None:
        _library.after_call.append(self.wake)
        self.wake()

    def stop(self) -> None:
        _library.after_call.remove(self.wake)
        self._disarm()
        if self._due is not None:
            self._due.cancel()
            self._due = None

    def wake(self) -> None:
        """Look at the context in the next round of the loop. GLib does not report sources that this thread adds."""
        if self._due is None:
            self._due = self._loop.call_soon(self._run)

    def _run(self) -> None:
        self._due = None
        self._disarm()
        dispatches = 0
        while dispatches < _MAX_DISPATCHES and iterate():
            dispatches += 1
        if self.wake not in _library.after_call:
            return  # a callback stopped the pump
        if dispatches == _MAX_DISPATCHES:
            self.wake()
        else:
            self._arm()

    def _arm(self) -> None:
        """Wait for the descriptors of the context and for its next timeout."""
        if not _glib.g_main_context_acquire(self._context):
            raise RuntimeError("another thread runs the default GLib main context")
        try:
            priority, timeout = ffi.new("int *"), ffi.new("int *")
            ready = _glib.g_main_context_prepare(self._context, priority)
            count = _glib.g_main_context_query(self._context, priority[0], timeout, ffi.NULL, 0)
            fds = ffi.new("GPollFD[]", count)
            _glib.g_main_context_query(self._context, priority[0], timeout, fds, count)
            # Ends what prepare() began; iterate() prepares anew.
            _glib.g_main_context_check(self._context, priority[0], fds, count)
        finally:
            _glib.g_main_context_release(self._context)
        if ready or timeout[0] == 0:
            self.wake()
            return
        if timeout[0] > 0:
            self._timer = self._loop.call_later(timeout[0] / 1000, self.wake)
        for polled in fds:
            if polled.events & (_IN | _PRI) and polled.fd not in self._readers:
                self._readers.add(polled.fd)
                self._loop.add_reader(polled.fd, self.wake)
            if polled.events & _OUT and polled.fd not in self._writers:
                self._writers.add(polled.fd)
                self._loop.add_writer(polled.fd, self.wake)

    def _disarm(self) -> None:
        for fd in self._readers:
            self._loop.remove_reader(fd)
        for fd in self._writers:
            self._loop.remove_writer(fd)
        self._readers.clear()
        self._writers.clear()
        if self._timer is not None:
            self._timer.cancel()
            self._timer = None


_running: Optional[_Pump] = None


@asynccontextmanager
async def in_asyncio() -> AsyncIterator[None]:
    """Run the default GLib main context inside the running asyncio loop for the duration of a block.

    Use devices inside the block only. One block can run at a time; a nested one does nothing.
    """
    global _running
    if _running is not None:
        yield
        return
    pump = _running = _Pump(asyncio.get_running_loop())
    pump.start()
    try:
        yield
    finally:
        pump.stop()
        _running = None


def wake() -> None:
    """Report that the application itself has added a source to the main context inside in_asyncio()."""
    if _running is not None:
        _running.wake()


def run(main: Coroutine[Any, Any, _T]) -> _T:
    """Run a coroutine like asyncio.run(), with the GLib main context inside its loop."""

    async def inside() -> _T:
        async with in_asyncio():
            return await main

    return asyncio.run(inside())
