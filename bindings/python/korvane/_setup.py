# SPDX-License-Identifier: Apache-2.0
"""What the phone sets up: PINs, languages, vendor data, terms."""

from typing import Callable, Sequence

from korvane._calls import Calls
from korvane._library import Text, call, texts_to_c
from korvane.received import DeviceProvisioning
from korvane.subscription import Subscription
from korvane.values import TncInfo, handle_of


class SetupFunctions(Calls):
    """What the phone sets up: PINs, languages, vendor data, terms. A part of korvane.Device."""

    def set_random_pin(self, pin: Text) -> None:
        """Send a PIN that the application has generated for the current setup, not empty. Lowest agent version: 1.4."""
        call("korvane_set_random_pin", self._handle, pin)

    def unset_random_pin(self) -> None:
        """Withdraw the PIN of set_random_pin(). Lowest agent version: 1.4."""
        call("korvane_unset_random_pin", self._handle)

    def set_preconfigured_pin(self, pin: Text) -> None:
        """Send a PIN that never changes. Call it before start(). Lowest agent version: any."""
        call("korvane_set_preconfigured_pin", self._handle, pin)

    def set_mot_status(self, enable: bool) -> None:
        """Switch the flag that the agent calls MOT status. Lowest agent version: any."""
        call("korvane_set_mot_status", self._handle, enable)

    def set_gatt_ble(self, enable: bool) -> None:
        """Switch the setup over Bluetooth Low Energy on or off. Lowest agent version: 1.4."""
        call("korvane_set_gatt_ble", self._handle, enable)

    def set_language_list(self, languages: Sequence[Text]) -> None:
        """Send the languages that the device supports, at least one. Call it before start().

        Lowest agent version: 1.3.
        """
        texts = texts_to_c(languages, "korvane_set_language_list")
        call("korvane_set_language_list", self._handle, texts, len(texts))

    def send_provisioning_language_setting_result(self, req_id: int, result: bool) -> None:
        """Reply to on_provisioning_language(): True if the device changed its language. Lowest agent version: 1.3."""
        call("korvane_send_provisioning_language_setting_result", self._handle, req_id, result)

    def set_provisioning_vendor_info(self, json: Text) -> None:
        """Send vendor-specific provisioning data, JSON text that is passed on unchanged. Lowest agent version: 1.3."""
        call("korvane_set_provisioning_vendor_info", self._handle, json)

    def set_sso_list(self, sso_list: Text) -> None:
        """Send the single sign-on list, agent-defined text. Lowest agent version: 1.3."""
        call("korvane_set_sso_list", self._handle, sso_list)

    def set_easysetup_version_info(self, version: Text) -> None:
        """Send the application's version of the setup. Call it before start(). Lowest agent version: 1.3."""
        call("korvane_set_easysetup_version_info", self._handle, version)

    def set_tnc_info(self, info: TncInfo) -> None:
        """Send the device's terms and conditions. Lowest agent version: 1.3."""
        with handle_of(info) as handle:
            call("korvane_set_tnc_info", self._handle, handle)

    def set_tnc_url(self, url: Text) -> None:
        """Send the URL of the terms. Lowest agent version: 1.4."""
        call("korvane_set_tnc_url", self._handle, url)

    def set_tnc_type(self, tnc_type: int) -> None:
        """Report which kinds of terms exist, as an agent-defined bit mask. Lowest agent version: 1.4."""
        call("korvane_set_tnc_type", self._handle, tnc_type)

    def set_tnc_status(self, status: int) -> None:
        """Report whether the user has accepted the terms; agent-defined. Lowest agent version: 1.3."""
        call("korvane_set_tnc_status", self._handle, status)

    # ---- Events. Each method registers a handler, and can be used as a decorator

    def on_device_provisioning(self, handler: Callable[[DeviceProvisioning], object]) -> Subscription:
        """Call a handler with language, country and time from the phone. Lowest agent version: any."""
        return self._subscribe("korvane_set_device_provisioning_cb", ("korvane_device_provisioning_cb",), handler)

    def on_provisioning_language(self, handler: Callable[[int, str, str], object]) -> Subscription:
        """Call a handler with language requests (request id, type, value). Lowest agent version: 1.3."""
        return self._subscribe("korvane_set_provisioning_language_cb", ("korvane_provisioning_language_cb",), handler)

    def on_provisioning_vendor_info(self, handler: Callable[[int, str], object]) -> Subscription:
        """Call a handler with vendor-specific provisioning data (value, text). Lowest agent version: 1.3."""
        return self._subscribe(
            "korvane_set_provisioning_vendor_info_cb", ("korvane_provisioning_vendor_info_cb",), handler
        )

    def on_otm_support_feature(self, handler: Callable[[int], object]) -> Subscription:
        """Call a handler with on-boarding (OTM) features. Lowest agent version: 1.3."""
        return self._subscribe("korvane_set_otm_support_feature_cb", ("korvane_otm_support_feature_cb",), handler)

    def on_provisioning_get_requested(self, handler: Callable[[str, int], object]) -> Subscription:
        """Call a handler with requests of provisioning data (text, value). Lowest agent version: 1.4."""
        return self._subscribe(
            "korvane_set_provisioning_get_requested_cb", ("korvane_provisioning_get_requested_cb",), handler
        )

    def on_tnc_result(self, handler: Callable[[str], object]) -> Subscription:
        """Call a handler with the user's answer to the terms. Lowest agent version: 1.3."""
        return self._subscribe("korvane_set_tnc_result_cb", ("korvane_tnc_result_cb",), handler)

    def on_pin(self, generated: Callable[[str, int], object], display_closed: Callable[[], object]) -> Subscription:
        """Call handlers with a PIN, a secret, to display, and at its end. Lowest agent version: any."""
        ctypes = ("korvane_pin_generated_cb", "korvane_pin_display_closed_cb")
        return self._subscribe("korvane_set_pin_cb", ctypes, generated, display_closed)

    def on_ultrasound_pin(self, generated: Callable[[str, int], object], stopped: Callable[[], object]) -> Subscription:
        """Call handlers with a PIN, a secret, to play as ultrasound, and at its end. Lowest agent version: 1.1."""
        ctypes = ("korvane_ultrasound_pin_generated_cb", "korvane_ultrasound_pin_stopped_cb")
        return self._subscribe("korvane_set_ultrasound_pin_cb", ctypes, generated, stopped)
