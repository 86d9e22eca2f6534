# SPDX-License-Identifier: Apache-2.0
"""Scans for access points, and joining one."""

from typing import Callable, Sequence

from korvane._calls import Calls
from korvane._library import call
from korvane.received import ChosenAccessPoint
from korvane.subscription import Subscription
from korvane.values import AccessPoint, handle_of_list


class WifiFunctions(Calls):
    """Scans for access points, and joining one. A part of korvane.Device."""

    def send_ap_list(
        self, access_points: Sequence[AccessPoint], req_id: int, *, leave_out_too_new: bool = False
    ) -> None:
        """Reply to on_scan_ap() with the access points that the device sees, at least one.

        Lowest agent version: any.
        """
        with handle_of_list(access_points, leave_out_too_new) as handle:
            call("korvane_send_ap_list", self._handle, handle, req_id)

    def set_wifi_connection_error_code(self, error_code: int) -> None:
        """Report why the device could not join the access point; agent-defined. Lowest agent version: 1.3."""
        call("korvane_set_wifi_connection_error_code", self._handle, error_code)

    # ---- Events. Each method registers a handler, and can be used as a decorator

    def on_wifi_ap_provisioning(self, handler: Callable[[ChosenAccessPoint], object]) -> Subscription:
        """Call a handler with the access point that the device is to join. Lowest agent version: any."""
        return self._subscribe("korvane_set_wifi_ap_provisioning_cb", ("korvane_wifi_ap_provisioning_cb",), handler)

    def on_scan_ap(self, handler: Callable[[int], object]) -> Subscription:
        """Call a handler with scan requests (request id); reply with send_ap_list(). Lowest agent version: any."""
        return self._subscribe("korvane_set_scan_ap_cb", ("korvane_scan_ap_cb",), handler)

    def on_stop_soft_ap(self, handler: Callable[[], object]) -> Subscription:
        """Call a handler with the end of the device's soft access point. Lowest agent version: any."""
        return self._subscribe("korvane_set_stop_soft_ap_cb", ("korvane_stop_soft_ap_cb",), handler)
