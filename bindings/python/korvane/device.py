# SPDX-License-Identifier: Apache-2.0
"""A session with the agent: every function of the library."""

import asyncio
from enum import IntEnum
from types import TracebackType
from typing import Any, Callable, List, Optional, Sequence, Tuple, Type, TypeVar, overload

from korvane._ffi import ffi
from korvane._library import Text, call, read_bool, read_int, read_text, texts_to_c
from korvane._registrations import Node, Session, Slot, _Registration, trampoline
from korvane.errors import ErrorCode, KorvaneError, code_of
from korvane.received import (
    ChosenAccessPoint,
    CreatedCertificate,
    CreatedToken,
    DeviceProvisioning,
    FoundCertificate,
    HdrTokenInfo,
    SubDevicePresence,
    TcpHeaderInfo,
    sub_device_presences,
    tcp_header,
)
from korvane.values import (
    AccessPoint,
    CloudInfo,
    DeviceProfileInfo,
    LastStatusInfo,
    PlatformInfo,
    TncInfo,
    handle_of,
    handle_of_list,
)

_T = TypeVar("_T")

# The session that the library refused to end when its device was closed, for instance because no agent is installed at
# that moment. Its handlers are muted. The next attempt to open a session ends it.
_unended: List[Session] = []


class ConnectionStatus(IntEnum):
    """States of the connection to the agent."""

    CONNECTED = 0
    DISCONNECTED = 1
    REJECTED = 2


class Subscription:
    """The registration of a handler for one event.

    Each event has at most one registration: a later one replaces this one. The end of the session ends it, and so does
    the end of a `with` block.
    """

    def __init__(self, session: Session, slot: Slot, registration: _Registration) -> None:
        self._session = session
        self._slot = slot
        self._registration = registration

    @property
    def active(self) -> bool:
        """Whether the handler receives events."""
        return self._slot.is_current(self._registration)

    def unset(self) -> None:
        """End the registration: the handler does not run any more.

        If the library refuses (SERVICE_UNAVAILABLE during an update), the registration stays; try again later. Any
        other KorvaneError has ended it. Does nothing if the registration is not active.
        """
        if not self.active:
            self._registration.node.muted = True
            return
        code = self._slot.unset(self._session.handle)
        if code != ErrorCode.NONE:
            raise KorvaneError(code, self._registration.node.function.replace("korvane_set_", "korvane_unset_"))

    def __enter__(self) -> "Subscription":
        return self

    def __exit__(
        self,
        exc_type: Optional[Type[BaseException]],
        exc: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        try:
            self.unset()
        finally:
            self._registration.node.muted = True


class Device:
    """A session with the agent. A process can have one at a time.

    The methods have the names, arguments and rules of korvane.h without the prefix; its descriptions name the result
    codes. A method returns its value or raises KorvaneError. Use everything from the thread that runs the main loop.

    A handler may be a function or an `async def` function, which then runs on the running asyncio loop. It may call any
    method, close() included. Views that it receives are valid as their classes describe. An exception that leaves it is
    reported: see set_exception_handler().
    """

    def __init__(self, on_connection: Optional[Callable[[ConnectionStatus, "ErrorCode | int"], object]] = None) -> None:
        """Begin to connect to the agent.

        `on_connection` is called with each change of the connection and its reason: NONE, SERVICE_UNAVAILABLE if an
        update of the agent is the cause, or for a rejection PERMISSION_DENIED or IO_ERROR. Requests fail until it
        receives CONNECTED; wait_connected() waits for that.
        """
        self._on_connection = on_connection
        self._status: Optional[ConnectionStatus] = None
        self._reason = 0
        self._waiting: List["asyncio.Future[None]"] = []
        self._session: Optional[Session] = None
        self.reopen()

    def reopen(self) -> None:
        """End the session, if there is one, and begin another. Registrations and one-shot requests do not survive."""
        while _unended:
            if (code := _unended[-1].close()) != ErrorCode.NONE:
                raise KorvaneError(code, "korvane_deinitialize")
            _unended.pop()
        self._end_session()
        node = Node("korvane_initialize", (self._connection_changed,))
        user_data = ffi.new_handle(node)
        out = ffi.new("korvane_h *")
        call("korvane_initialize", out, trampoline("korvane_connection_status_cb"), user_data)
        self._session = Session(out[0], node, user_data)

    def close(self) -> None:
        """End the session; no handler runs afterwards.

        If the library refuses (no agent is installed at the moment), the handlers are muted, and the next session of
        this process ends this one first.
        """
        try:
            self._end_session()
        except KorvaneError:
            assert self._session is not None
            self._session.mute()
            _unended.append(self._session)
            self._session = None

    def _end_session(self) -> None:
        session, self._session = self._session, None
        if session is not None and (code := session.close()) != ErrorCode.NONE:
            self._session = session
            raise KorvaneError(code, "korvane_deinitialize")
        self._status = None
        self._finish_waiting()

    def __enter__(self) -> "Device":
        return self

    def __exit__(
        self,
        exc_type: Optional[Type[BaseException]],
        exc: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.close()

    @property
    def is_open(self) -> bool:
        """Whether a session exists. It need not be connected."""
        return self._session is not None

    @property
    def is_connected(self) -> bool:
        """Whether the last change of the connection was CONNECTED."""
        return self._status == ConnectionStatus.CONNECTED

    async def wait_connected(self) -> None:
        """Wait until the agent is connected. Raises KorvaneError if it rejects the connection or the session ends."""
        if self._status is None and self._session is not None:
            future: "asyncio.Future[None]" = asyncio.get_running_loop().create_future()
            self._waiting.append(future)
            await future
        if not self.is_connected:
            raise KorvaneError(self._reason or ErrorCode.OPERATION_FAILED, "korvane_initialize")

    def _connection_changed(self, status: int, reason: int) -> object:
        self._status = ConnectionStatus(status)
        self._reason = reason
        self._finish_waiting()
        if self._on_connection is None:
            return None
        return self._on_connection(self._status, code_of(reason))

    def _finish_waiting(self) -> None:
        waiting, self._waiting = self._waiting, []
        for future in waiting:
            if not future.done():
                future.set_result(None)

    @property
    def _handle(self) -> Any:
        return ffi.NULL if self._session is None else self._session.handle

    def _subscribe(
        self, set_function: str, ctypes: Tuple[str, ...], *handlers: Callable[..., object]
    ) -> Subscription:
        session = self._session
        if session is None or not all(map(callable, handlers)):
            raise KorvaneError(ErrorCode.INVALID_PARAMETER, set_function)
        slot = session.slot(set_function, ctypes)
        return Subscription(session, slot, slot.set(session.handle, handlers))

    def _request(
        self,
        function: str,
        ctype: str,
        arguments: Tuple[Any, ...],
        convert: Callable[..., _T],
        done: Optional[Callable[..., object]],
    ) -> "Optional[asyncio.Future[_T]]":
        session = self._session
        if session is None:
            raise KorvaneError(ErrorCode.INVALID_PARAMETER, function)
        if done is not None:
            session.request(function, ctype, arguments, done)
            return None
        future: "asyncio.Future[_T]" = asyncio.get_running_loop().create_future()

        def complete(*values: Any) -> None:
            if not future.done():
                future.set_result(convert(*values))

        def cancel() -> None:
            if not future.done():
                future.set_exception(KorvaneError(ErrorCode.OPERATION_FAILED, function))

        try:
            session.request(function, ctype, arguments, complete, cancel)
        except KorvaneError:
            if not future.done():  # the reply may have arrived in spite of the failure
                raise
        return future

    # ---- Device service

    def start(self) -> None:
        """Ask the agent to start its device service and wait until it has replied. Call it while connected.

        Lowest agent version: any.
        """
        call("korvane_start", self._handle)

    def stop(self) -> None:
        """Ask the agent to stop its device service and wait until it has replied. Lowest agent version: any."""
        call("korvane_stop", self._handle)

    # ---- Core state

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

    # ---- Setup

    def send_ap_list(
        self, access_points: Sequence[AccessPoint], req_id: int, *, leave_out_too_new: bool = False
    ) -> None:
        """Reply to on_scan_ap() with the access points that the device sees, at least one.

        Lowest agent version: any.
        """
        with handle_of_list(access_points, leave_out_too_new) as handle:
            call("korvane_send_ap_list", self._handle, handle, req_id)

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

    def set_wifi_connection_error_code(self, error_code: int) -> None:
        """Report why the device could not join the access point; agent-defined. Lowest agent version: 1.3."""
        call("korvane_set_wifi_connection_error_code", self._handle, error_code)

    def set_sso_list(self, sso_list: Text) -> None:
        """Send the single sign-on list, agent-defined text. Lowest agent version: 1.3."""
        call("korvane_set_sso_list", self._handle, sso_list)

    def set_easysetup_version_info(self, version: Text) -> None:
        """Send the application's version of the setup. Call it before start(). Lowest agent version: 1.3."""
        call("korvane_set_easysetup_version_info", self._handle, version)

    # ---- Cloud

    def sign_up_cloud(self, info: CloudInfo, *, leave_out_too_new: bool = False) -> None:
        """Ask the agent to sign the device up; on_signup_status_changed() receives the result.

        Lowest agent version: any.
        """
        with handle_of(info, leave_out_too_new) as handle:
            call("korvane_sign_up_cloud", self._handle, handle)

    def disable_signin(self, disable: bool) -> None:
        """Switch the sign-in to the cloud off (True), or on again. Lowest agent version: 2.2."""
        call("korvane_disable_signin", self._handle, disable)

    def disconnect_cloud_session(self) -> None:
        """Ask the agent to end its session with the cloud. Lowest agent version: 1.4."""
        call("korvane_disconnect_cloud_session", self._handle)

    def get_signin_status(self) -> bool:
        """Read whether the device is signed in to the cloud. Lowest agent version: 1.4."""
        return read_bool("korvane_get_signin_status", self._handle)

    def get_signup_status(self) -> bool:
        """Read whether the device is signed up to the cloud. Lowest agent version: 1.4."""
        return read_bool("korvane_get_signup_status", self._handle)

    def get_thing_status(self) -> int:
        """Read the agent's status of the device; agent-defined. Lowest agent version: 1.4."""
        return read_int("korvane_get_thing_status", self._handle)

    # ---- Identity

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

    # ---- Keep-alive

    def set_keepalive_intervals(self, intervals: Sequence[int]) -> None:
        """Send a table of keep-alive intervals, at least one; the unit is agent-defined. Lowest agent version: 1.3."""
        call("korvane_set_keepalive_intervals", self._handle, list(intervals), len(intervals))

    def select_keepalive_intervals(self, indexes: Sequence[int]) -> None:
        """Select intervals of the table, at least one. Lowest agent version: 1.3."""
        call("korvane_select_keepalive_intervals", self._handle, list(indexes), len(indexes))

    def send_keepalive(self) -> None:
        """Ask the agent to send a keep-alive now; on_keepalive_result() receives the result.

        Lowest agent version: 1.3.
        """
        call("korvane_send_keepalive", self._handle)

    def send_presence(self, state: int) -> None:
        """Ask the agent to send the device's presence to the cloud now. 0: on, 1: inactive.

        Lowest agent version: 1.3.
        """
        call("korvane_send_presence", self._handle, state)

    def get_tcp_header_info(self) -> TcpHeaderInfo:
        """Read the header fields of the agent's TCP connection to the cloud. Lowest agent version: 1.4."""
        return tcp_header(self._handle)

    # ---- Sub-devices

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

    # ---- Push messages and terms

    def send_custom_push_msg(self, json: Text) -> None:
        """Send a push message of the application to the user: JSON text. Lowest agent version: 2.0."""
        call("korvane_send_custom_push_msg", self._handle, json)

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

    def on_wifi_ap_provisioning(self, handler: Callable[[ChosenAccessPoint], object]) -> Subscription:
        """Call a handler with the access point that the device is to join. Lowest agent version: any."""
        return self._subscribe("korvane_set_wifi_ap_provisioning_cb", ("korvane_wifi_ap_provisioning_cb",), handler)

    def on_scan_ap(self, handler: Callable[[int], object]) -> Subscription:
        """Call a handler with scan requests (request id); reply with send_ap_list(). Lowest agent version: any."""
        return self._subscribe("korvane_set_scan_ap_cb", ("korvane_scan_ap_cb",), handler)

    def on_device_provisioning(self, handler: Callable[[DeviceProvisioning], object]) -> Subscription:
        """Call a handler with language, country and time from the phone. Lowest agent version: any."""
        return self._subscribe("korvane_set_device_provisioning_cb", ("korvane_device_provisioning_cb",), handler)

    def on_stop_soft_ap(self, handler: Callable[[], object]) -> Subscription:
        """Call a handler with the end of the device's soft access point. Lowest agent version: any."""
        return self._subscribe("korvane_set_stop_soft_ap_cb", ("korvane_stop_soft_ap_cb",), handler)

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

    def on_signin_status_changed(self, handler: Callable[[bool], object]) -> Subscription:
        """Call a handler with changes of the sign-in. Lowest agent version: 1.4."""
        return self._subscribe("korvane_set_signin_status_changed_cb", ("korvane_signin_status_changed_cb",), handler)

    def on_signup_status_changed(self, handler: Callable[[bool], object]) -> Subscription:
        """Call a handler with changes of the sign-up. Lowest agent version: 1.4."""
        return self._subscribe("korvane_set_signup_status_changed_cb", ("korvane_signup_status_changed_cb",), handler)

    def on_tcp_session_disconnected(self, handler: Callable[[int], object]) -> Subscription:
        """Call a handler with the end of the TCP session with the cloud (error code). Lowest agent version: 1.4."""
        return self._subscribe(
            "korvane_set_tcp_session_disconnected_cb", ("korvane_tcp_session_disconnected_cb",), handler
        )

    def on_last_status_changed(self, handler: Callable[[str], object]) -> Subscription:
        """Call a handler with changes of the last status. Lowest agent version: 1.4."""
        return self._subscribe("korvane_set_last_status_changed_cb", ("korvane_last_status_changed_cb",), handler)

    def on_nick_changed(self, handler: Callable[[int, str], object]) -> Subscription:
        """Call a handler with changes of nick names (device number, nick name). Lowest agent version: 1.3."""
        return self._subscribe("korvane_set_nick_changed_cb", ("korvane_nick_changed_cb",), handler)

    def on_cloud_device_list(self, handler: Callable[[List[str]], object]) -> Subscription:
        """Call a handler with the cloud's list of the user's devices. Lowest agent version: 1.1."""
        return self._subscribe("korvane_set_cloud_device_list_cb", ("korvane_cloud_device_list_cb",), handler)

    def on_keepalive_result(self, handler: Callable[[int], object]) -> Subscription:
        """Call a handler with the results of keep-alives. Lowest agent version: 1.4."""
        return self._subscribe("korvane_set_keepalive_result_cb", ("korvane_keepalive_result_cb",), handler)

    def on_diagnostics(self, handler: Callable[[int, str], object]) -> Subscription:
        """Call a handler with requests of diagnostics from the cloud (value, text). Lowest agent version: 2.2."""
        return self._subscribe("korvane_set_diagnostics_cb", ("korvane_diagnostics_cb",), handler)

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

    @overload
    def get_group_id(self) -> "asyncio.Future[str]": ...

    @overload
    def get_group_id(self, *, done: Callable[[str], object]) -> None: ...

    def get_group_id(
        self, *, done: Optional[Callable[[str], object]] = None
    ) -> "Optional[asyncio.Future[str]]":
        """Ask the agent for the id of the device's group. Lowest agent version: 1.5."""
        return self._request("korvane_get_group_id", "korvane_get_group_id_cb", (), str, done)

    @overload
    def create_hdr_certificate(self, device_type: Text, csr: Text) -> "asyncio.Future[CreatedCertificate]": ...

    @overload
    def create_hdr_certificate(self, device_type: Text, csr: Text, *, done: Callable[[int, str], object]) -> None: ...

    def create_hdr_certificate(
        self, device_type: Text, csr: Text, *, done: Optional[Callable[[int, str], object]] = None
    ) -> "Optional[asyncio.Future[CreatedCertificate]]":
        """Ask the agent for a new certificate of the device: (result, text). Lowest agent version: 2.1."""
        return self._request(
            "korvane_create_hdr_certificate",
            "korvane_create_hdr_certificate_cb",
            (device_type, csr),
            CreatedCertificate,
            done,
        )

    @overload
    def get_hdr_certificate(self, device_type: Text, certificate_arn: Text) -> "asyncio.Future[FoundCertificate]": ...

    @overload
    def get_hdr_certificate(
        self, device_type: Text, certificate_arn: Text, *, done: Callable[[int, str, str], object]
    ) -> None: ...

    def get_hdr_certificate(
        self, device_type: Text, certificate_arn: Text, *, done: Optional[Callable[[int, str, str], object]] = None
    ) -> "Optional[asyncio.Future[FoundCertificate]]":
        """Ask the agent for an earlier certificate: (result, text1, text2). Lowest agent version: 2.1."""
        return self._request(
            "korvane_get_hdr_certificate",
            "korvane_get_hdr_certificate_cb",
            (device_type, certificate_arn),
            FoundCertificate,
            done,
        )

    @overload
    def create_hdr_token_info(self) -> "asyncio.Future[CreatedToken]": ...

    @overload
    def create_hdr_token_info(self, *, done: Callable[[int, Optional[HdrTokenInfo]], object]) -> None: ...

    def create_hdr_token_info(
        self, *, done: Optional[Callable[[int, Optional[HdrTokenInfo]], object]] = None
    ) -> "Optional[asyncio.Future[CreatedToken]]":
        """Ask the agent for a token: (result, token). Lowest agent version: 2.1."""
        return self._request(
            "korvane_create_hdr_token_info",
            "korvane_create_hdr_token_info_cb",
            (),
            CreatedToken,
            done,
        )

    @overload
    def create_hdr_token_info_custom(self, request_data_json: Text) -> "asyncio.Future[CreatedToken]": ...

    @overload
    def create_hdr_token_info_custom(
        self, request_data_json: Text, *, done: Callable[[int, Optional[HdrTokenInfo]], object]
    ) -> None: ...

    def create_hdr_token_info_custom(
        self, request_data_json: Text, *, done: Optional[Callable[[int, Optional[HdrTokenInfo]], object]] = None
    ) -> "Optional[asyncio.Future[CreatedToken]]":
        """Ask the agent for a token with request data of the application: (result, token).

        Lowest agent version: 2.3.
        """
        return self._request(
            "korvane_create_hdr_token_info_custom",
            "korvane_create_hdr_token_info_custom_cb",
            (request_data_json,),
            CreatedToken,
            done,
        )
