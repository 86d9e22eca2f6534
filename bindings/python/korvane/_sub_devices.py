# SPDX-License-Identifier: Apache-2.0
"""Devices behind this one, and the group."""

import asyncio
from typing import Callable, List, Optional, Sequence, overload

from korvane._calls import Calls
from korvane._library import Text, call
from korvane.received import SubDevicePresence, sub_device_presences


class SubDeviceFunctions(Calls):
    """Devices behind this one, and the group. A part of korvane.Device."""

    def register_sub_device(self, device_no: int, device_id: Text) -> None:
        """Register a sub-device under a number above 0. Lowest agent version: 1.1."""
        call("korvane_register_sub_device", self._handle, device_no, device_id)

    def unregister_sub_device(self, device_no: int) -> None:
        """End the registration of a sub-device. Lowest agent version: 1.1."""
        call("korvane_unregister_sub_device", self._handle, device_no)

    def set_sub_device_presence(self, device_nos: Sequence[int], presence: bool) -> None:
        """Report whether sub-devices, at least one, are present. Lowest agent version: 1.4."""
        call("korvane_set_sub_device_presence", self._handle, list(device_nos), len(device_nos), presence)

    def get_sub_device_presence_list(self) -> List[SubDevicePresence]:
        """Read the presence of all registered sub-devices, or raise NO_DATA if there is none.

        Lowest agent version: 1.6.
        """
        return sub_device_presences(self._handle)

    # ---- One-shot requests. Await them, or pass a completion, which then is called with the reply

    @overload
    def get_group_id(self) -> "asyncio.Future[str]": ...

    @overload
    def get_group_id(self, *, done: Callable[[str], object]) -> None: ...

    def get_group_id(
        self, *, done: Optional[Callable[[str], object]] = None
    ) -> "Optional[asyncio.Future[str]]":
        """Ask the agent for the id of the device's group. Lowest agent version: 1.5."""
        return self._request("korvane_get_group_id", "korvane_get_group_id_cb", (), str, done)
