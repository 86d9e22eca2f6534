# SPDX-License-Identifier: Apache-2.0
"""The user data of registrations and one-shot requests, and how long they live.

The rule of this file: a node, which the library receives as user data, exists at least as long as the library may call
its callback. korvane.h lists when user data may be freed; a callback that runs keeps its node by itself.
"""

import asyncio
import sys
import traceback
from dataclasses import dataclass
from types import SimpleNamespace
from typing import Any, Callable, Dict, List, Optional, Set, Tuple

from korvane._ffi import ffi
from korvane._library import code_of_call, text_from_c
from korvane.errors import ErrorCode, KorvaneError, is_refusal
from korvane.received import ChosenAccessPoint, DeviceProvisioning, copy_of_token

ExceptionHandler = Callable[[str, BaseException], None]

_exception_handler: Optional[ExceptionHandler] = None
_tasks: Set["asyncio.Task[Any]"] = set()


def set_exception_handler(handler: Optional[ExceptionHandler]) -> None:
    """Set the function that receives each exception that leaves a callback, with the name of the C function.

    Without one, sys.unraisablehook receives the exception if the application has set it; otherwise a traceback is
    printed to standard error.
    """
    global _exception_handler
    _exception_handler = handler


def _print_exception(function: str, error: BaseException) -> None:
    print(f"Exception ignored in the callback of {function}:", file=sys.stderr)
    traceback.print_exception(type(error), error, error.__traceback__)


def report_exception(function: str, error: BaseException) -> None:
    """Report an exception that left a callback. Nothing can unwind through the library."""
    try:
        if _exception_handler is not None:
            _exception_handler(function, error)
        elif sys.unraisablehook is not sys.__unraisablehook__:
            sys.unraisablehook(
                SimpleNamespace(  # type: ignore[arg-type]  # the type of the interpreter cannot be created
                    exc_type=type(error),
                    exc_value=error,
                    exc_traceback=error.__traceback__,
                    err_msg="Exception ignored in the callback of",
                    object=function,
                )
            )
        else:
            _print_exception(function, error)
    except BaseException as second:
        _print_exception(function, error)
        _print_exception("the exception handler", second)


def _follow(function: str, coroutine: Any) -> None:
    """Run the coroutine of an `async def` handler on the running event loop."""
    try:
        task = asyncio.get_running_loop().create_task(coroutine)
    except RuntimeError:
        coroutine.close()
        raise
    _tasks.add(task)

    def done(ended: "asyncio.Task[Any]") -> None:
        _tasks.discard(ended)
        if not ended.cancelled() and (error := ended.exception()) is not None:
            report_exception(function, error)

    task.add_done_callback(done)


_VIEWS: Dict[str, Callable[[Any], Any]] = {
    "char *": lambda text: "" if text == ffi.NULL else text_from_c(text),
    "struct korvane_ap_info_s *": ChosenAccessPoint,
    "struct korvane_device_prov_info_s *": DeviceProvisioning,
    "struct korvane_hdr_token_info_s *": copy_of_token,
}


def _from_c(value: Any) -> Any:
    """Convert a value of a callback."""
    if not isinstance(value, ffi.CData):
        return value
    return _VIEWS[ffi.typeof(value).cname.replace("const ", "")](value)


def _list_from_c(ids: Any, count: int) -> Tuple[List[str]]:
    return ([text_from_c(ids[index]) for index in range(count)],)


class Node:
    """The handlers of one registration."""

    def __init__(self, function: str, handlers: Tuple[Callable[..., Any], ...]) -> None:
        self.function = function
        self.handlers = handlers
        self.muted = False

    def run(self, which: int, values: Tuple[Any, ...]) -> None:
        """Call a handler; no exception leaves it."""
        if self.muted:
            return
        try:
            if self.function == "korvane_set_cloud_device_list_cb":
                converted: Tuple[Any, ...] = _list_from_c(*values)
            else:
                converted = tuple(map(_from_c, values))
            result = self.handlers[which](*converted)
            if asyncio.iscoroutine(result):
                _follow(self.function, result)
        except BaseException as error:
            report_exception(self.function, error)


_trampolines: Dict[Tuple[str, int], Any] = {}


def trampoline(ctype: str, which: int = 0) -> Any:
    """Return the C callback that runs a node's handler. There is one per type, and it is never freed."""
    if (ctype, which) not in _trampolines:

        def run(*values: Any) -> None:
            node = ffi.from_handle(values[-1])
            # The connection status comes before the handle, everything else after it.
            if ctype == "korvane_connection_status_cb":
                node.run(which, (values[2], values[0]))
            else:
                node.run(which, values[1:-1])

        _trampolines[ctype, which] = ffi.callback(ctype, run)
    return _trampolines[ctype, which]


@dataclass(eq=False)
class _Registration:
    node: Node
    user_data: Any  # the C handle of the node; the library uses it
    in_progress: bool = True  # the set function has not returned
    nested: bool = False  # another set function of this event ran around it or inside it


class Slot:
    """The registrations of one event."""

    def __init__(self, set_function: str, unset_function: str, ctypes: Tuple[str, ...]) -> None:
        self._set = set_function
        self._unset = unset_function
        self._ctypes = ctypes
        self._registrations: List[_Registration] = []
        self._current: Optional[_Registration] = None
        self._in_progress = 0

    def set(self, handle: Any, handlers: Tuple[Callable[..., Any], ...]) -> _Registration:
        """Register handlers."""
        nested = self._in_progress > 0
        for other in self._registrations:
            other.nested = other.nested or (nested and other.in_progress)
        node = Node(self._set, handlers)
        made = _Registration(node, ffi.new_handle(node), nested=nested)
        self._registrations.append(made)
        self._in_progress += 1
        callbacks = [trampoline(ctype, which) for which, ctype in enumerate(self._ctypes)]
        try:
            code = code_of_call(self._set, handle, *callbacks, made.user_data)
        finally:
            self._in_progress -= 1
            made.in_progress = False
        if code != ErrorCode.NONE:
            if made in self._registrations:  # otherwise the session ended inside the call
                self._registrations.remove(made)
            raise KorvaneError(code, self._set)
        if made in self._registrations:
            if not node.muted:  # otherwise the connection was lost inside the call
                self._current = made
            # A successful call replaces the earlier registration. After two set functions, one inside the other, either
            # may be the one that the agent keeps, so both stay until the event is unset.
            if self._in_progress == 0:
                self._registrations = [each for each in self._registrations if each is made or each.nested]
        return made

    def unset(self, handle: Any) -> int:
        """End the registration; return the result code."""
        before = list(self._registrations)
        code = code_of_call(self._unset, handle)
        if is_refusal(code):
            return code
        self._current = None
        kept = []
        for each in self._registrations:
            if each.in_progress:
                kept.append(each)  # a set function around this call still registers its callback
                continue
            each.node.muted = True
            if each not in before:
                kept.append(each)  # made inside this call, which ended it; a later call frees its user data
        self._registrations = kept
        return code

    def is_current(self, registration: _Registration) -> bool:
        """Return whether the registration's handlers receive the events."""
        return self._current is registration

    def end(self) -> None:
        """Forget everything: the session has ended."""
        self._current = None
        self._registrations = []

    def mute(self) -> None:
        """Call no handler any more."""
        for each in self._registrations:
            each.node.muted = True

    def lose(self) -> None:
        """Call no handler any more; no registration receives events. The library may still use the nodes."""
        self._current = None
        self.mute()


def _look_for_agent_again() -> None:
    """The library looks for an installed agent in korvane_initialize() only, which does nothing else while a session exists."""
    other = ffi.new("korvane_h *")
    if code_of_call("korvane_initialize", other, ffi.NULL, ffi.NULL) == ErrorCode.NONE:
        code_of_call("korvane_deinitialize", other[0])


class Session:
    """One session with the agent, from korvane_initialize() to korvane_deinitialize()."""

    def __init__(self, handle: Any, connection: Node, user_data: Any) -> None:
        self.handle = handle
        self._connection = connection
        self._user_data = user_data
        self._slots: Dict[str, Slot] = {}
        self._requests: Dict[Node, Tuple[Any, Callable[[], None]]] = {}

    def slot(self, set_function: str, ctypes: Tuple[str, ...]) -> Slot:
        """Return the registrations of an event."""
        if set_function not in self._slots:
            unset_function = set_function.replace("korvane_set_", "korvane_unset_")
            self._slots[set_function] = Slot(set_function, unset_function, ctypes)
        return self._slots[set_function]

    def request(
        self,
        function: str,
        ctype: str,
        arguments: Tuple[Any, ...],
        done: Callable[..., Any],
        cancel: Callable[[], None] = lambda: None,
    ) -> None:
        """Make a one-shot request. `cancel` runs if the session ends before the reply."""

        def complete(*values: Any) -> Any:
            self._requests.pop(node, None)
            return done(*values)

        node = Node(function, (complete,))
        user_data = ffi.new_handle(node)
        self._requests[node] = (user_data, cancel)
        try:
            code = code_of_call(function, self.handle, *arguments, trampoline(ctype), user_data)
        except BaseException:
            self._requests.pop(node, None)
            raise
        if code != ErrorCode.NONE:
            self._requests.pop(node, None)
            raise KorvaneError(code, function)

    def close(self) -> int:
        """End the session. If the library refuses, everything stays as it is."""
        if self.handle == ffi.NULL:
            return 0
        code = code_of_call("korvane_deinitialize", self.handle)
        if code == ErrorCode.NOT_SUPPORTED:
            _look_for_agent_again()
            code = code_of_call("korvane_deinitialize", self.handle)
        # An invalid handle was deinitialised past this class.
        if code not in (ErrorCode.NONE, ErrorCode.INVALID_PARAMETER):
            return code
        self.end()
        return 0

    def end(self) -> None:
        """Forget everything: the library has ended the session."""
        self.handle = ffi.NULL
        for slot in self._slots.values():
            slot.end()
        requests, self._requests = self._requests, {}
        for _, cancel in requests.values():
            cancel()

    def lose(self) -> None:
        """Make no call and call no handler any more: the connection is lost, and the library ends the session later."""
        self.handle = ffi.NULL
        for slot in self._slots.values():
            slot.lose()
        for node, (_, cancel) in list(self._requests.items()):
            node.muted = True
            cancel()

    def mute(self) -> None:
        """Call no handler any more."""
        self._connection.muted = True
        for slot in self._slots.values():
            slot.mute()
        for node in self._requests:
            node.muted = True
