#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The setup of the washer in Python: what main.c, setup.c, wifi.c and identity.c show, without files and certificates."""

import argparse
import asyncio
import json
import signal
import sys
from typing import Callable, Optional, Tuple

import korvane
import korvane.glib
from korvane import AccessPoint, ErrorCode, KorvaneError, SupervisedConnection, SupervisedState

LANGUAGES = ["en-GB", "en-US", "de-DE", "fr-FR", "ko-KR"]

# Sent to the agent, which passes them on to the phone.
NETWORK_NOT_FOUND, WRONG_PASSWORD, REQUEST_UNREADABLE = 1, 2, 3

# What the simulated radio receives, strongest first, with the passwords.
NETWORKS = [
    (AccessPoint("home", "02:00:00:00:00:01", 4, channel=6, signal_level=-48, frequency=2437), "laundry day"),
    (AccessPoint("home", "02:00:00:00:00:02", 4, channel=44, signal_level=-61, frequency=5220), "laundry day"),
    (AccessPoint("café", "02:00:00:00:00:03", 0, channel=11, signal_level=-77, frequency=2462), ""),
]


def step(what: str, call: Callable[..., object], *arguments: object) -> bool:
    """Make a call and print its result. A call that the installed agent is too old for is no failure."""
    try:
        call(*arguments)
    except KorvaneError as error:
        print(f"{what}: {error}", flush=True)
        return error.code == ErrorCode.AGENT_VERSION_LOWER
    print(f"{what}: done", flush=True)
    return True


class Washer:
    """A washer that a phone sets up."""

    def __init__(self, join_seconds: float) -> None:
        self._join_seconds = join_seconds
        self._join: "Optional[asyncio.Task[None]]" = None
        self._ended: "asyncio.Future[int]" = asyncio.get_running_loop().create_future()
        self._connection = SupervisedConnection(self._configure, self._state_changed)

    async def run(self) -> int:
        asyncio.get_running_loop().add_signal_handler(signal.SIGTERM, self._terminate)
        with self._connection:
            return await self._ended

    def _configure(self, device: korvane.Device) -> None:
        """Runs after each connection, because a new connection has no registrations."""
        self._device = device
        self._follow_events(device)
        self._describe_device(device)
        try:
            device.start()
        except KorvaneError as error:
            print("start:", error, flush=True)
            if error.code not in (ErrorCode.IO_ERROR, ErrorCode.SERVICE_UNAVAILABLE):
                self._end(1)
            raise

    def _state_changed(self, state: SupervisedState, reason: int) -> None:
        print("connection:", state.name.lower(), reason, flush=True)
        if state == SupervisedState.CONNECTED:
            step("get_device_id", self._device.get_device_id)
        elif state == SupervisedState.REFUSED:
            self._end(2)

    def _follow_events(self, device: korvane.Device) -> None:
        """Register for the events. Registrations end with the session."""
        step("on_user_confirm", device.on_user_confirm, lambda: step("confirm", device.send_user_confirm, True))
        step("on_reset_confirm", device.on_reset_confirm, lambda: step("confirm", device.send_reset_confirm, True))
        step("on_pin", device.on_pin, lambda pin, value: print("display: PIN", pin), lambda: print("display: dark"))
        step("on_ultrasound_pin", device.on_ultrasound_pin, lambda pin, value: None, lambda: None)
        step("on_provisioning_language", device.on_provisioning_language, self._language)
        step("on_provisioning_get_requested", device.on_provisioning_get_requested, self._vendor_info)
        step("on_otm_support_feature", device.on_otm_support_feature, lambda feature: print("feature:", feature))
        step("on_device_provisioning", device.on_device_provisioning, lambda info: print("country:", info.country))
        step("on_scan_ap", device.on_scan_ap, self._scan)
        step("on_wifi_ap_provisioning", device.on_wifi_ap_provisioning, self._choose)
        step("on_tnc_result", device.on_tnc_result, lambda result: print("terms: answered"))
        step("on_stop_soft_ap", device.on_stop_soft_ap, lambda: print("soft access point: stopped"))

    def _describe_device(self, device: korvane.Device) -> None:
        try:
            device.set_device_property_with_wifi_authtype("Washer", 0x0B, 0x03, [0, 4, 5])
        except KorvaneError as error:
            if error.code == ErrorCode.AGENT_VERSION_LOWER:
                step("set_device_property", device.set_device_property, "Washer", 0x0B, 0x03)
        platform = korvane.PlatformInfo("WM-7", "4", firmware_version="4.1.2")
        step("set_platform_info", lambda: device.set_platform_info(platform, leave_out_too_new=True))
        profile = korvane.DeviceProfileInfo(nick="Washer", serial_number="WM7-000001")
        step("set_device_profile_info", lambda: device.set_device_profile_info(profile, leave_out_too_new=True))
        step("set_language_list", device.set_language_list, LANGUAGES)
        step("set_easysetup_version_info", device.set_easysetup_version_info, "1.0")

    def _language(self, req_id: int, kind: str, language: str) -> None:
        known = language in LANGUAGES
        step("language", self._device.send_provisioning_language_setting_result, req_id, known)

    def _vendor_info(self, text: str, value: int) -> None:
        step("vendor info", self._device.set_provisioning_vendor_info, json.dumps({"model": "WM-7"}))

    def _scan(self, req_id: int) -> None:
        found = [access_point for access_point, _ in NETWORKS]
        step("send_ap_list", lambda: self._device.send_ap_list(found, req_id, leave_out_too_new=True))

    def _choose(self, chosen: korvane.ChosenAccessPoint) -> None:
        if self._join is not None:
            self._join.cancel()  # the user has chosen again
        choice = self._read(chosen)
        if choice is None:
            step("join", self._device.set_wifi_connection_error_code, REQUEST_UNREADABLE)
        else:
            self._join = asyncio.create_task(self._end_join(*choice))

    @staticmethod
    def _read(chosen: korvane.ChosenAccessPoint) -> Optional[Tuple[str, str]]:
        try:
            ssid = chosen.ssid
        except KorvaneError:
            return None
        try:
            return ssid, chosen.password
        except KorvaneError:
            return ssid, ""  # an open network has no password

    async def _end_join(self, ssid: str, password: str) -> None:
        """Report the outcome of joining, after the time that joining takes."""
        await asyncio.sleep(self._join_seconds)
        passwords = [known for access_point, known in NETWORKS if access_point.ssid == ssid]
        if not passwords:
            step("join", self._device.set_wifi_connection_error_code, NETWORK_NOT_FOUND)
        elif password not in passwords:
            step("join", self._device.set_wifi_connection_error_code, WRONG_PASSWORD)
        else:
            print("joined:", ssid, flush=True)

    def _end(self, status: int) -> None:
        if not self._ended.done():
            self._ended.set_result(status)

    def _terminate(self) -> None:
        device = self._connection.device
        self._end(0 if device is not None and step("stop", device.stop) else 1)


async def main() -> int:
    parser = argparse.ArgumentParser(description="A washer that a phone sets up.")
    parser.add_argument("--join-ms", type=int, default=500, help="duration of joining a network (500)")
    return await Washer(parser.parse_args().join_ms / 1000).run()


if __name__ == "__main__":
    sys.exit(korvane.glib.run(main()))
