// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_DEVICE_CLOUD_HPP
#define KORVANE_DEVICE_CLOUD_HPP

#include "setup.hpp"

#include "../coroutine.hpp"
#include "../received.hpp"
#include "../values.hpp"

namespace korvane::detail {

/// Sign-up and session, keep-alive, certificates, tokens, push messages. A part of korvane::Device.
class CloudFunctions : public SetupFunctions {
public:
    /// Asks the agent to sign the device up to the cloud; on_signup_status_changed() receives the result. Lowest agent
    /// version: any.
    Result<void> sign_up_cloud(const CloudInfo &info, IfTooOld if_too_old = IfTooOld::fail)
    {
        return detail::with(info, if_too_old, [this](auto handle) {
            return detail::call<korvane_sign_up_cloud>(native_handle(), handle);
        });
    }
    /// Switches the sign-in to the cloud off (true), or on again. Lowest agent version: 2.2.
    Result<void> disable_signin(bool disable) { return detail::call<korvane_disable_signin>(native_handle(), disable); }
    /// Asks the agent to end its session with the cloud; on_tcp_session_disconnected() reports the end. Lowest agent
    /// version: 1.4.
    Result<void> disconnect_cloud_session() { return detail::call<korvane_disconnect_cloud_session>(native_handle()); }
    /// Reads whether the device is signed in to the cloud. Lowest agent version: 1.4.
    Result<bool> get_signin_status() { return detail::read<korvane_get_signin_status, bool>(native_handle()); }
    /// Reads whether the device is signed up to the cloud. Lowest agent version: 1.4.
    Result<bool> get_signup_status() { return detail::read<korvane_get_signup_status, bool>(native_handle()); }
    /// Reads the agent's status of the device; agent-defined. Lowest agent version: 1.4.
    Result<int> get_thing_status() { return detail::read<korvane_get_thing_status, int>(native_handle()); }
    /// Sends a table of keep-alive intervals, at least one; the unit is agent-defined. Lowest agent version: 1.3.
    Result<void> set_keepalive_intervals(const std::vector<int> &intervals)
    {
        return with_ints<korvane_set_keepalive_intervals>(intervals);
    }
    /// Selects intervals of the table, at least one. Lowest agent version: 1.3.
    Result<void> select_keepalive_intervals(const std::vector<int> &indexes)
    {
        return with_ints<korvane_select_keepalive_intervals>(indexes);
    }
    /// Asks the agent to send a keep-alive now; on_keepalive_result() receives the result. Lowest agent version: 1.3.
    Result<void> send_keepalive() { return detail::call<korvane_send_keepalive>(native_handle()); }
    /// Asks the agent to send the device's presence to the cloud now. 0: on, 1: inactive. Lowest agent version: 1.3.
    Result<void> send_presence(int state) { return detail::call<korvane_send_presence>(native_handle(), state); }
    /// Reads the header fields of the agent's TCP connection to the cloud. Lowest agent version: 1.4.
    Result<TcpHeaderInfo> get_tcp_header_info() { return detail::tcp_header(native_handle()); }
    /// Sends a push message of the application to the user: JSON text, which the library parses and prints again.
    /// Lowest agent version: 2.0.
    Result<void> send_custom_push_msg(std::string_view json)
    {
        return detail::call<korvane_send_custom_push_msg>(native_handle(), json);
    }

    // ---- Events ----------

    /// Registers a handler `(bool status)` for changes of the sign-in. Lowest agent version: 1.4.
    template <class Handler>
    Result<Subscription> on_signin_status_changed(Handler handler)
    {
        return subscribe<korvane_set_signin_status_changed_cb, korvane_unset_signin_status_changed_cb, void(bool)>(
            std::move(handler));
    }
    /// Registers a handler `(bool status)` for changes of the sign-up. Lowest agent version: 1.4.
    template <class Handler>
    Result<Subscription> on_signup_status_changed(Handler handler)
    {
        return subscribe<korvane_set_signup_status_changed_cb, korvane_unset_signup_status_changed_cb, void(bool)>(
            std::move(handler));
    }
    /// Registers a handler `(int last_error_code)` for the end of the TCP session with the cloud. Lowest agent version:
    /// 1.4.
    template <class Handler>
    Result<Subscription> on_tcp_session_disconnected(Handler handler)
    {
        return subscribe<korvane_set_tcp_session_disconnected_cb, korvane_unset_tcp_session_disconnected_cb, void(int)>(
            std::move(handler));
    }
    /// Registers a handler `(int result)` for the results of keep-alives. Lowest agent version: 1.4.
    template <class Handler>
    Result<Subscription> on_keepalive_result(Handler handler)
    {
        return subscribe<korvane_set_keepalive_result_cb, korvane_unset_keepalive_result_cb, void(int)>(
            std::move(handler));
    }
    /// Registers a handler `(int value, std::string_view text)` for requests of diagnostics from the cloud. Lowest
    /// agent version: 2.2.
    template <class Handler>
    Result<Subscription> on_diagnostics(Handler handler)
    {
        return subscribe<korvane_set_diagnostics_cb, korvane_unset_diagnostics_cb, void(int, std::string_view)>(
            std::move(handler));
    }

    // ---- One-shot requests ----------

    // The completion runs at most once, with the reply. It does not run if the session ends before.

    /// Asks the agent for a new certificate of the device. Completion: `(int result, std::string_view text)`; result 0: the text
    /// is the certificate and its data, otherwise the reason. Lowest agent version: 2.1.
    template <class Completion>
    Result<void> create_hdr_certificate(std::string_view device_type, std::string_view csr, Completion completion)
    {
        return request<korvane_create_hdr_certificate, void(int, std::string_view)>(std::move(completion), device_type,
                                                                                    csr);
    }
    /// Asks the agent for a certificate that was created before. Completion: `(int result, std::string_view text1,
    /// std::string_view text2)`, agent-defined texts (`korvane-agent`: the certificate and its chain in PEM). Lowest agent
    /// version: 2.1.
    template <class Completion>
    Result<void> get_hdr_certificate(std::string_view device_type, std::string_view certificate_arn,
                                     Completion completion)
    {
        return request<korvane_get_hdr_certificate, void(int, std::string_view, std::string_view)>(
            std::move(completion), device_type, certificate_arn);
    }
    /// Asks the agent for a token. Completion: `(int result, const HdrTokenInfo &)`. Lowest agent version: 2.1.
    template <class Completion>
    Result<void> create_hdr_token_info(Completion completion)
    {
        return request<korvane_create_hdr_token_info, void(int, HdrTokenInfo)>(std::move(completion));
    }
    /// Asks the agent for a token with request data of the application, JSON text that is passed on unchanged. Completion:
    /// `(int result, const HdrTokenInfo &)`. Lowest agent version: 2.3.
    template <class Completion>
    Result<void> create_hdr_token_info_custom(std::string_view request_data_json, Completion completion)
    {
        return request<korvane_create_hdr_token_info_custom, void(int, HdrTokenInfo)>(std::move(completion),
                                                                                      request_data_json);
    }

#ifdef KORVANE_HAS_COROUTINES
    // The same for coroutines: `const auto reply = co_await device.create_hdr_certificate(type, csr);`

    /// co_await returns Result<CreatedCertificate>.
    auto create_hdr_certificate(std::string_view device_type, std::string_view csr)
    {
        return detail::await<CreatedCertificate, korvane_create_hdr_certificate>(
            session_,
            [](int result, std::string_view text) {
                return CreatedCertificate{result, std::string{text}};
            },
            std::string{device_type}, std::string{csr});
    }
    /// co_await returns Result<FoundCertificate>.
    auto get_hdr_certificate(std::string_view device_type, std::string_view certificate_arn)
    {
        return detail::await<FoundCertificate, korvane_get_hdr_certificate>(
            session_,
            [](int result, std::string_view text1, std::string_view text2) {
                return FoundCertificate{result, std::string{text1}, std::string{text2}};
            },
            std::string{device_type}, std::string{certificate_arn});
    }
    /// co_await returns Result<CreatedToken>.
    auto create_hdr_token_info()
    {
        return detail::await<CreatedToken, korvane_create_hdr_token_info>(session_, detail::created_token);
    }
    /// co_await returns Result<CreatedToken>.
    auto create_hdr_token_info_custom(std::string_view request_data_json)
    {
        return detail::await<CreatedToken, korvane_create_hdr_token_info_custom>(session_, detail::created_token,
                                                                                 std::string{request_data_json});
    }
#endif
};

} // namespace korvane::detail

#endif
