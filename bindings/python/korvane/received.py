# SPDX-License-Identifier: Apache-2.0
"""What an application receives: views of the library's handles, and copies."""

from dataclasses import dataclass
from typing import Any, Callable, List, Optional, TypeVar

from korvane._ffi import ffi
from korvane._library import call, lib, read_int, read_text, take_text
from korvane.errors import ErrorCode, KorvaneError

_T = TypeVar("_T")


class ChosenAccessPoint:
    """The access point that the device is to join: a view that reads a member when it is asked for.

    It is valid until the next event of its kind, the next registration or the end of one for this event, or the end of
    the session. It is false if the agent's data could not be read; every member then raises KorvaneError.
    """

    def __init__(self, info: Any) -> None:
        self._info = info

    def __bool__(self) -> bool:
        return bool(self._info != ffi.NULL)

    @property
    def ssid(self) -> str:
        """Network name. Bytes that are not UTF-8 are surrogates (PEP 383). Lowest agent version: any."""
        return read_text("korvane_apinfo_get_ssid", self._info)

    @property
    def password(self) -> str:
        """Password, a secret. Lowest agent version: any."""
        return read_text("korvane_apinfo_get_password", self._info)

    @property
    def authtype(self) -> int:
        """Authentication type; agent-defined. Lowest agent version: any."""
        return read_int("korvane_apinfo_get_authtype", self._info)

    @property
    def enctype(self) -> int:
        """Encryption type; agent-defined. Lowest agent version: any."""
        return read_int("korvane_apinfo_get_enctype", self._info)

    @property
    def channel(self) -> int:
        """Radio channel. Lowest agent version: any."""
        return read_int("korvane_apinfo_get_channel", self._info)

    @property
    def candidate_ap(self) -> str:
        """Further access points to try, as JSON text; agent-defined. Lowest agent version: 1.3."""
        return read_text("korvane_apinfo_get_candidate_ap", self._info)

    @property
    def bssid(self) -> str:
        """Hardware address as text. Lowest agent version: 1.4."""
        return read_text("korvane_apinfo_get_bssid", self._info)


class DeviceProvisioning:
    """Data from the phone about its user and location: a view, valid like a ChosenAccessPoint.

    A text is empty if the phone sent none.
    """

    def __init__(self, info: Any) -> None:
        self._info = info

    @property
    def language(self) -> str:
        """The user's language; agent-defined. Lowest agent version: any."""
        return read_text("korvane_devinfo_get_language", self._info)

    @property
    def country(self) -> str:
        """Country; agent-defined. Lowest agent version: any."""
        return read_text("korvane_devinfo_get_country", self._info)

    @property
    def datetime(self) -> str:
        """Date and time; agent-defined. Lowest agent version: any."""
        return read_text("korvane_devinfo_get_datetime", self._info)

    @property
    def regist_mobile_device(self) -> str:
        """The mobile device that registers this one; agent-defined. Lowest agent version: 1.1."""
        return read_text("korvane_devinfo_get_regist_mobile_device", self._info)


@dataclass(repr=False)
class HdrTokenInfo:
    """A token with its data, a copy. A member that the agent did not send is None. repr() does not show the secret."""

    uuid: Optional[str] = None
    server_name: Optional[str] = None
    server_url: Optional[str] = None
    token: Optional[str] = None
    expiration_time: Optional[int] = None


@dataclass
class TcpHeaderInfo:
    """Header fields of the agent's TCP connection to the cloud. A member that the agent did not send is None."""

    ip_version: Optional[int] = None
    src_addr: Optional[str] = None
    src_port: Optional[int] = None
    dst_addr: Optional[str] = None
    dst_port: Optional[int] = None
    seq_num: Optional[int] = None
    ack_num: Optional[int] = None
    window: Optional[int] = None
    window_scale: Optional[int] = None


@dataclass
class SubDevicePresence:
    """The presence of one sub-device; agent-defined. `korvane-agent`: 1 present, 0 absent."""

    device_id: str
    presence: int


@dataclass
class CreatedCertificate:
    """The reply to Device.create_hdr_certificate(): result 0 and the certificate, or another result and the reason."""

    result: int
    text: str


@dataclass
class FoundCertificate:
    """The reply to Device.get_hdr_certificate(). `korvane-agent`: the certificate and its chain in PEM."""

    result: int
    text1: str
    text2: str


@dataclass
class CreatedToken:
    """The reply to a request of a token. There is no token if the agent's data could not be read."""

    result: int
    token: Optional[HdrTokenInfo]


def _found(read: Callable[[str, Any], _T], function: str, handle: Any) -> Optional[_T]:
    """Read a member; None if the agent did not send it."""
    try:
        return read(function, handle)
    except KorvaneError as error:
        if error.code == ErrorCode.OPERATION_FAILED:
            return None
        raise


def copy_of_token(info: Any) -> Optional[HdrTokenInfo]:
    """Copy the token that a callback received."""
    if info == ffi.NULL:
        return None
    return HdrTokenInfo(
        _found(read_text, "korvane_hdr_token_info_get_uuid", info),
        _found(read_text, "korvane_hdr_token_info_get_server_name", info),
        _found(read_text, "korvane_hdr_token_info_get_server_url", info),
        _found(read_text, "korvane_hdr_token_info_get_token", info),
        _found(read_int, "korvane_hdr_token_info_get_expiration_time", info),
    )


def tcp_header(handle: Any) -> TcpHeaderInfo:
    """Request the header fields, copy and release them."""
    out = ffi.new("korvane_tcp_header_info_h *")
    call("korvane_get_tcp_header_info", handle, out)
    info = out[0]
    try:
        return TcpHeaderInfo(
            _found(read_int, "korvane_tcp_header_info_get_ip_version", info),
            _found(read_text, "korvane_tcp_header_info_get_src_addr", info),
            _found(read_int, "korvane_tcp_header_info_get_src_port", info),
            _found(read_text, "korvane_tcp_header_info_get_dst_addr", info),
            _found(read_int, "korvane_tcp_header_info_get_dst_port", info),
            _found(read_int, "korvane_tcp_header_info_get_seq_num", info),
            _found(read_int, "korvane_tcp_header_info_get_ack_num", info),
            _found(read_int, "korvane_tcp_header_info_get_window", info),
            _found(read_int, "korvane_tcp_header_info_get_window_scale", info),
        )
    finally:
        lib.korvane_release_tcp_header_info(info)


def sub_device_presences(handle: Any) -> List[SubDevicePresence]:
    """Request the list of presences, copy and release it."""
    elements = ffi.new("korvane_sub_dev_prs_h **")
    count = ffi.new("int *")
    call("korvane_get_sub_device_presence_list", handle, elements, count)
    try:
        found = []
        for index in range(count[0]):
            device_id, presence = ffi.new("char **"), ffi.new("int *")
            call("korvane_get_sub_device_presence", elements[0][index], device_id, presence)
            found.append(SubDevicePresence(take_text(device_id, "korvane_get_sub_device_presence"), presence[0]))
        return found
    finally:
        lib.korvane_release_sub_device_presence_list(elements[0], count[0])
