# SPDX-License-Identifier: Apache-2.0
"""What the device is: platform data, profile, last status, names."""

from typing import Callable, List

from korvane._calls import Calls
from korvane._library import Text, call, read_bool
from korvane.subscription import Subscription
from korvane.values import DeviceProfileInfo, LastStatusInfo, PlatformInfo, handle_of


class IdentityFunctions(Calls):
    """What the device is: platform data, profile, last status, names. A part of korvane.Device."""

    def set_platform_info(self, info: PlatformInfo, *, leave_out_too_new: bool = False) -> None:
        """Send the platform data of the device itself. Lowest agent version: 1.1."""
        with handle_of(info, leave_out_too_new) as handle:
            call("korvane_set_platform_info", self._handle, handle)

    def set_platform_info_with_device_no(
        self, info: PlatformInfo, device_no: int, *, leave_out_too_new: bool = False
    ) -> None:
        """Send the platform data of one device; 0 is the device itself. Lowest agent version: 1.2."""
        with handle_of(info, leave_out_too_new) as handle:
            call("korvane_set_platform_info_with_device_no", self._handle, handle, device_no)

    def set_last_status_info(self, info: LastStatusInfo) -> None:
        """Send the device's last status. Lowest agent version: 1.1."""
        with handle_of(info) as handle:
            call("korvane_set_last_status_info", self._handle, handle)

    def set_device_profile_info(self, info: DeviceProfileInfo, *, leave_out_too_new: bool = False) -> None:
        """Send the profile of the device itself. Lowest agent version: 1.3."""
        with handle_of(info, leave_out_too_new) as handle:
            call("korvane_set_device_profile_info", self._handle, handle)

    def set_regist_set_device(self, rsd: Text) -> None:
        """Send the text that the agent calls "regist set device". Lowest agent version: 1.1."""
        call("korvane_set_regist_set_device", self._handle, rsd)

    def set_nick_name(self, device_no: int, nick: Text) -> None:
        """Send the nick name of one device, which the user sees; 0 is the device itself. Lowest agent version: 1.2."""
        call("korvane_set_nick_name", self._handle, device_no, nick)

    def set_device_name(self, name: Text) -> None:
        """Set the name of the device itself. Lowest agent version: 1.4."""
        call("korvane_set_device_name", self._handle, name)

    def set_device_name_with_device_no(self, name: Text, device_no: int) -> None:
        """Set the name of one device. The device number is the last argument. Lowest agent version: 1.4."""
        call("korvane_set_device_name_with_device_no", self._handle, name, device_no)

    def set_device_type_with_device_no(self, device_no: int, device_type: Text) -> None:
        """Set the type of one device; agent-defined. Lowest agent version: 2.0."""
        call("korvane_set_device_type_with_device_no", self._handle, device_no, device_type)

    def get_device_owned_status(self) -> bool:
        """Read whether the device has an owner. Lowest agent version: 1.2."""
        return read_bool("korvane_get_device_owned_status", self._handle)

    # ---- Events. Each method registers a handler, and can be used as a decorator

    def on_last_status_changed(self, handler: Callable[[str], object]) -> Subscription:
        """Call a handler with changes of the last status. Lowest agent version: 1.4."""
        return self._subscribe("korvane_set_last_status_changed_cb", ("korvane_last_status_changed_cb",), handler)

    def on_nick_changed(self, handler: Callable[[int, str], object]) -> Subscription:
        """Call a handler with changes of nick names (device number, nick name). Lowest agent version: 1.3."""
        return self._subscribe("korvane_set_nick_changed_cb", ("korvane_nick_changed_cb",), handler)

    def on_cloud_device_list(self, handler: Callable[[List[str]], object]) -> Subscription:
        """Call a handler with the cloud's list of the user's devices. Lowest agent version: 1.1."""
        return self._subscribe("korvane_set_cloud_device_list_cb", ("korvane_cloud_device_list_cb",), handler)
