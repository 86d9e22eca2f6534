// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/common_interface.hpp"
#include "src/korvane/core/registration.hpp"

using namespace kv;
using namespace kv::api;

namespace {

void _signin_status_changed_cb(void *user_data, bool status)
{
    log::info()("status [%s]"_fmt, status ? "true" : "false");
    deliver(&korvane_s::signin_status_changed, user_data, Caller::here(), status);
}

void _signup_status_changed_cb(void *user_data, bool status)
{
    log::info()("status [%s]"_fmt, status ? "true" : "false");
    deliver(&korvane_s::signup_status_changed, user_data, Caller::here(), status);
}

void _tcp_session_disconnected_cb(void *user_data, int last_error_code)
{
    log::info()("last_error_code [%d]"_fmt, last_error_code);
    deliver(&korvane_s::tcp_session_disconnected, user_data, Caller::here(), last_error_code);
}

using SigninStatusChanged =
    Registration<&korvane_s::signin_status_changed, since(1, 4), master::set_signin_status_changed_cb,
                 master::unset_signin_status_changed_cb, _signin_status_changed_cb>;

using SignupStatusChanged =
    Registration<&korvane_s::signup_status_changed, since(1, 4), master::set_signup_status_changed_cb,
                 master::unset_signup_status_changed_cb, _signup_status_changed_cb>;

using TcpSessionDisconnected =
    Registration<&korvane_s::tcp_session_disconnected, since(1, 4), master::set_tcp_session_disconnected_cb,
                 master::unset_tcp_session_disconnected_cb, _tcp_session_disconnected_cb>;

} // namespace

int korvane_set_signin_status_changed_cb(korvane_h handle, korvane_signin_status_changed_cb callback, void *user_data)
{
    return SigninStatusChanged::set(Caller::here(), handle, user_data, callback);
}

int korvane_unset_signin_status_changed_cb(korvane_h handle)
{
    return SigninStatusChanged::unset(Caller::here(), handle);
}

int korvane_set_signup_status_changed_cb(korvane_h handle, korvane_signup_status_changed_cb callback, void *user_data)
{
    return SignupStatusChanged::set(Caller::here(), handle, user_data, callback);
}

int korvane_unset_signup_status_changed_cb(korvane_h handle)
{
    return SignupStatusChanged::unset(Caller::here(), handle);
}

int korvane_set_tcp_session_disconnected_cb(korvane_h handle, korvane_tcp_session_disconnected_cb callback,
                                            void *user_data)
{
    return TcpSessionDisconnected::set(Caller::here(), handle, user_data, callback);
}

int korvane_unset_tcp_session_disconnected_cb(korvane_h handle)
{
    return TcpSessionDisconnected::unset(Caller::here(), handle);
}

int korvane_get_signin_status(korvane_h handle, bool *is_signed_in)
{
    AgentCall call{handle, since(1, 4)};
    if (!call.require_given(is_signed_in, "is_signed_in").ready())
        return call.result();

    if (int code = call.invoke<master::get_signin_status>(is_signed_in))
        return code;
    log::info()("_out_status [%s]"_fmt, *is_signed_in ? "true" : "false");
    return KORVANE_ERROR_NONE;
}

int korvane_get_signup_status(korvane_h handle, bool *is_signed_up)
{
    AgentCall call{handle, since(1, 4)};
    if (!call.require_given(is_signed_up, "is_signed_up").ready())
        return call.result();

    if (int code = call.invoke<master::get_signup_status>(is_signed_up))
        return code;
    log::info()("_out_status [%s]"_fmt, *is_signed_up ? "true" : "false");
    return KORVANE_ERROR_NONE;
}

int korvane_get_thing_status(korvane_h handle, int *status)
{
    AgentCall call{handle, since(1, 4)};
    call.require_given(status, "status");
    return call.invoke<master::get_thing_status>(status);
}

int korvane_disable_signin(korvane_h handle, bool disable)
{
    AgentCall call{handle, since(2, 2)};
    if (!call.ready())
        return call.result();

    Json request{cJSON_CreateObject()};
    if (!call.require(bool(request), KORVANE_ERROR_OUT_OF_MEMORY, "cJSON_CreateObject() failed"_fmt).passed())
        return call.result();
    if (!call.require_memory(add_command(request.get(), Command::disable_signin)).passed())
        return call.result();
    // Without memory for the flag the request goes out without it: the agent judges such a request.
    cJSON_AddBoolToObject(request.get(), "disable_signin", disable);
    return invoke_common_interface(call, request.get());
}

int korvane_disconnect_cloud_session(korvane_h handle)
{
    AgentCall call{handle, since(1, 4)};
    return call.invoke<master::disconnect_cloud_session>();
}
