# SPDX-License-Identifier: Apache-2.0
"""Lists and records that an application sends. They are copied into handles of the library for the call only.

A member that is None is not sent.
"""

from contextlib import contextmanager
from dataclasses import dataclass
from typing import Any, Iterator, Optional, Sequence

from korvane._ffi import ffi
from korvane._library import Text, call, lib
from korvane.errors import ErrorCode, KorvaneError


@dataclass
class AccessPoint:
    """One access point that the device sees, for Device.send_ap_list(). Units and codings are agent-defined."""

    ssid: Optional[Text] = None
    bssid: Optional[Text] = None
    authtype: Optional[int] = None
    enctype: Optional[int] = None
    channel: Optional[int] = None
    signal_level: Optional[int] = None
    max_rate: Optional[int] = None
    frequency: Optional[int] = None  # agents from 2.3 on


@dataclass(repr=False)
class CloudInfo:
    """Credentials for Device.sign_up_cloud(). They are secrets, so repr() does not show them."""

    region: Optional[Text] = None
    auth_provider: Optional[Text] = None
    access_token: Optional[Text] = None
    refresh_token: Optional[Text] = None
    user_id: Optional[Text] = None
    client_id: Optional[Text] = None
    cloud_interface_server: Optional[Text] = None  # agents from 2.0 on
    deploy_environment: Optional[Text] = None  # agents from 2.0 on
    token_type: Optional[int] = None  # agents from 2.0 on


@dataclass
class PlatformInfo:
    """The device's model and software, for Device.set_platform_info()."""

    model_number: Optional[Text] = None
    platform_version: Optional[Text] = None
    vendor_id: Optional[Text] = None  # agents from 1.2 on
    manufacture_date: Optional[Text] = None  # agents from 1.4 on
    firmware_version: Optional[Text] = None  # agents from 1.4 on


@dataclass
class LastStatusInfo:
    """The device's last status, for Device.set_last_status_info(). The unit of the timestamp is agent-defined."""

    timestamp: int = 0
    error_code: Optional[Text] = None


@dataclass
class DeviceProfileInfo:
    """The device's profile, for Device.set_device_profile_info()."""

    nick: Optional[Text] = None
    locale: Optional[Text] = None
    push_reg_id: Optional[Text] = None
    push_app_id: Optional[Text] = None
    push_provider: Optional[Text] = None
    serial_number: Optional[Text] = None  # agents from 2.0 on


@dataclass
class TncInfo:
    """The device's terms and conditions, for Device.set_tnc_info()."""

    version: Optional[Text] = None
    header: Optional[Text] = None


# The setters of each record, in the order of its members.
_SETTERS = {
    AccessPoint: (
        "korvane_aplist_set_ssid",
        "korvane_aplist_set_bssid",
        "korvane_aplist_set_authtype",
        "korvane_aplist_set_enctype",
        "korvane_aplist_set_channel",
        "korvane_aplist_set_signal_level",
        "korvane_aplist_set_max_rate",
        "korvane_aplist_set_frequency",
    ),
    CloudInfo: (
        "korvane_cloudinfo_set_region",
        "korvane_cloudinfo_set_auth_provider",
        "korvane_cloudinfo_set_access_token",
        "korvane_cloudinfo_set_refresh_token",
        "korvane_cloudinfo_set_user_id",
        "korvane_cloudinfo_set_client_id",
        "korvane_cloudinfo_set_cloud_interface_server",
        "korvane_cloudinfo_set_deploy_environment",
        "korvane_cloudinfo_set_token_type",
    ),
    PlatformInfo: (
        "korvane_platforminfo_set_model_number",
        "korvane_platforminfo_set_platform_version",
        "korvane_platforminfo_set_vendor_id",
        "korvane_platforminfo_set_manufacture_date",
        "korvane_platforminfo_set_firmware_version",
    ),
    LastStatusInfo: ("korvane_laststatusinfo_set_timestamp", "korvane_laststatusinfo_set_error_code"),
    DeviceProfileInfo: (
        "korvane_device_profile_info_set_nick",
        "korvane_device_profile_info_set_locale",
        "korvane_device_profile_info_set_push_reg_id",
        "korvane_device_profile_info_set_push_app_id",
        "korvane_device_profile_info_set_push_provider",
        "korvane_device_profile_info_set_serial_number",
    ),
    TncInfo: ("korvane_tncinfo_set_version", "korvane_tncinfo_set_header"),
}

# How the handle of a record is created and destroyed.
_HANDLES = {
    CloudInfo: ("korvane_cloud_info_h *", "korvane_cloudinfo_create", "korvane_cloudinfo_destroy"),
    PlatformInfo: ("korvane_platform_info_h *", "korvane_platforminfo_create", "korvane_platforminfo_destroy"),
    LastStatusInfo: (
        "korvane_last_status_info_h *",
        "korvane_laststatusinfo_create",
        "korvane_laststatusinfo_destroy",
    ),
    DeviceProfileInfo: (
        "korvane_device_profile_info_h *",
        "korvane_device_profile_info_create",
        "korvane_device_profile_info_destroy",
    ),
    TncInfo: ("korvane_tnc_info_h *", "korvane_tnc_info_create", "korvane_tnc_info_destroy"),
}


def _fill(handle: Any, record: Any, leave_out_too_new: bool, *index: int) -> None:
    """Set the members that have a value. Members that the agent is too old for are left out on request."""
    for setter, member in zip(_SETTERS[type(record)], vars(record).values()):
        if member is None:
            continue
        try:
            call(setter, handle, *index, member)
        except KorvaneError as error:
            if not (leave_out_too_new and error.code == ErrorCode.AGENT_VERSION_LOWER):
                raise


@contextmanager
def handle_of(record: Any, leave_out_too_new: bool = False) -> Iterator[Any]:
    """Provide a filled handle of a record. The library refuses to destroy one while no agent is installed."""
    ctype, create, destroy = _HANDLES[type(record)]
    out = ffi.new(ctype)
    call(create, out)
    try:
        _fill(out[0], record, leave_out_too_new)
        yield out[0]
    finally:
        getattr(lib, destroy)(out[0])


@contextmanager
def handle_of_list(access_points: Sequence[AccessPoint], leave_out_too_new: bool) -> Iterator[Any]:
    """Provide a filled list of access points."""
    out = ffi.new("korvane_aplist_h *")
    call("korvane_aplist_create", out, len(access_points))
    try:
        for index, access_point in enumerate(access_points):
            _fill(out[0], access_point, leave_out_too_new, index)
        yield out[0]
    finally:
        lib.korvane_aplist_destroy(out[0])
