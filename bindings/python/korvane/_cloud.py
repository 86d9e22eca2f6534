# SPDX-License-Identifier: Apache-2.0
"""Sign-up and session, keep-alive, certificates, tokens, push messages."""

import asyncio
from typing import Callable, Optional, Sequence, overload

from korvane._calls import Calls
from korvane._library import Text, call, read_bool, read_int
from korvane.received import CreatedCertificate, CreatedToken, FoundCertificate, HdrTokenInfo, TcpHeaderInfo, tcp_header
from korvane.subscription import Subscription
from korvane.values import CloudInfo, handle_of


class CloudFunctions(Calls):
    """Sign-up and session, keep-alive, certificates, tokens, push messages. A part of korvane.Device."""

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

    def send_custom_push_msg(self, json: Text) -> None:
        """Send a push message of the application to the user: JSON text. Lowest agent version: 2.0."""
        call("korvane_send_custom_push_msg", self._handle, json)

    # ---- Events. Each method registers a handler, and can be used as a decorator

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

    def on_keepalive_result(self, handler: Callable[[int], object]) -> Subscription:
        """Call a handler with the results of keep-alives. Lowest agent version: 1.4."""
        return self._subscribe("korvane_set_keepalive_result_cb", ("korvane_keepalive_result_cb",), handler)

    def on_diagnostics(self, handler: Callable[[int, str], object]) -> Subscription:
        """Call a handler with requests of diagnostics from the cloud (value, text). Lowest agent version: 2.2."""
        return self._subscribe("korvane_set_diagnostics_cb", ("korvane_diagnostics_cb",), handler)

    # ---- One-shot requests. Await them, or pass a completion, which then is called with the reply

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
