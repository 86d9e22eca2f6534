# SPDX-License-Identifier: Apache-2.0
"""The service, the core state and the commands of a device."""

import asyncio
from typing import Callable, Optional, Sequence, overload

from korvane._calls import Calls
from korvane._library import Text, call, read_bool, read_text
from korvane.subscription import Subscription


class CoreFunctions(Calls):
    """The service, the core state and the commands of a device. A part of korvane.Device."""

    def start(self) -> None:
        """Ask the agent to start its device service and wait until it has replied. Call it while connected.

        Lowest agent version: any.
        """
        call("korvane_start", self._handle)

    def stop(self) -> None:
        """Ask the agent to stop its device service and wait until it has replied. Lowest agent version: any."""
        call("korvane_stop", self._handle)

    def get_device_id(self) -> str:
        """Read the id under which the agent knows this device. Lowest agent version: any."""
        return read_text("korvane_get_device_id", self._handle)

    def get_easysetup_status(self) -> bool:
        """Read whether the device is set up. Lowest agent version: any."""
        return read_bool("korvane_get_easysetup_status", self._handle)

    def reset(self) -> None:
        """Ask the agent to reset the device; on_reset_result() receives the result. Lowest agent version: any."""
        call("korvane_reset", self._handle)

    def send_reset_confirm(self, confirm: bool) -> None:
        """Reply to on_reset_confirm(): True if the device may be reset. Lowest agent version: any."""
        call("korvane_send_reset_confirm", self._handle, confirm)

    def send_user_confirm(self, confirm: bool) -> None:
        """Reply to on_user_confirm(): True if the user consents to the setup. Lowest agent version: any."""
        call("korvane_send_user_confirm", self._handle, confirm)

    def set_device_property(self, name: Text, wifi_mode: int, wifi_freq: int) -> None:
        """Send the device's name and its Wi-Fi capabilities, bit masks above 0. Call it before start().

        Lowest agent version: any.
        """
        call("korvane_set_device_property", self._handle, name, wifi_mode, wifi_freq)

    def set_device_property_with_wifi_authtype(
        self, name: Text, wifi_mode: int, wifi_freq: int, wifi_authtypes: Sequence[int]
    ) -> None:
        """Send the device's name, Wi-Fi capabilities and authentication types. Call it before start().

        Lowest agent version: 2.2.
        """
        call(
            "korvane_set_device_property_with_wifi_authtype",
            self._handle,
            name,
            wifi_mode,
            wifi_freq,
            list(wifi_authtypes),
            len(wifi_authtypes),
        )

    # ---- Events. Each method registers a handler, and can be used as a decorator

    def on_rpc_io_error(self, handler: Callable[[], object]) -> Subscription:
        """Call a handler with calls that failed because the link to the agent broke. Lowest agent version: any."""
        return self._subscribe("korvane_set_rpc_io_error_cb", ("korvane_rpc_io_error_cb",), handler)

    def on_status_changed(self, handler: Callable[[int], object]) -> Subscription:
        """Call a handler with changes of the agent's setup status. Lowest agent version: any."""
        return self._subscribe("korvane_set_status_changed_cb", ("korvane_status_changed_cb",), handler)

    def on_user_confirm(self, handler: Callable[[], object]) -> Subscription:
        """Call a handler with the question for the user's consent; reply with send_user_confirm().

        Lowest agent version: any.
        """
        return self._subscribe("korvane_set_user_confirm_cb", ("korvane_user_confirm_cb",), handler)

    def on_reset_confirm(self, handler: Callable[[], object]) -> Subscription:
        """Call a handler with the question whether the device may be reset; reply with send_reset_confirm().

        Lowest agent version: any.
        """
        return self._subscribe("korvane_set_reset_confirm_cb", ("korvane_reset_confirm_cb",), handler)

    def on_reset_result(self, handler: Callable[[bool], object]) -> Subscription:
        """Call a handler with the result of a reset. Lowest agent version: any."""
        return self._subscribe("korvane_set_reset_result_cb", ("korvane_reset_result_cb",), handler)

    # ---- One-shot requests. Await them, or pass a completion, which then is called with the reply

    @overload
    def start_async(self) -> "asyncio.Future[int]": ...

    @overload
    def start_async(self, *, done: Callable[[int], object]) -> None: ...

    def start_async(
        self, *, done: Optional[Callable[[int], object]] = None
    ) -> "Optional[asyncio.Future[int]]":
        """Ask the agent to start its device service; the reply is 0 or agent-defined. Lowest agent version: 2.0."""
        return self._request("korvane_start_async", "korvane_start_result_cb", (), int, done)
