// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/documents/command_document.hpp"
#include "src/korvane/core/events/event.hpp"

using namespace kv;
using namespace kv::api;

namespace {

using SigninStatusChanged = RegistrationOf<master::events::signin_status_changed, "callback is NULL",
                                           PlainEvent<korvane_signin_status_changed_cb, "status [%s]">>;

using SignupStatusChanged = RegistrationOf<master::events::signup_status_changed, "callback is NULL",
                                           PlainEvent<korvane_signup_status_changed_cb, "status [%s]">>;

using TcpSessionDisconnected = RegistrationOf<master::events::tcp_session_disconnected, "callback is NULL",
                                              PlainEvent<korvane_tcp_session_disconnected_cb, "last_error_code [%d]">>;

} // namespace

int korvane_set_signin_status_changed_cb(korvane_h handle, korvane_signin_status_changed_cb callback, void *user_data)
{
    return SigninStatusChanged::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_signin_status_changed_cb(korvane_h handle)
{
    return SigninStatusChanged::unset(Caller::here(), handle);
}

int korvane_set_signup_status_changed_cb(korvane_h handle, korvane_signup_status_changed_cb callback, void *user_data)
{
    return SignupStatusChanged::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_signup_status_changed_cb(korvane_h handle)
{
    return SignupStatusChanged::unset(Caller::here(), handle);
}

int korvane_set_tcp_session_disconnected_cb(korvane_h handle, korvane_tcp_session_disconnected_cb callback,
                                            void *user_data)
{
    return TcpSessionDisconnected::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_tcp_session_disconnected_cb(korvane_h handle)
{
    return TcpSessionDisconnected::unset(Caller::here(), handle);
}

int korvane_get_signin_status(korvane_h handle, bool *is_signed_in)
{
    AgentCall call{handle, since(1, 4)};
    ReadyCall &ready = call.require_given(is_signed_in, "is_signed_in").ready();
    if (!ready)
        return ready.result();

    if (int code = ready.invoke<master::get_signin_status>(is_signed_in))
        return code;
    log::info()("_out_status [%s]"_fmt, *is_signed_in ? "true" : "false");
    return KORVANE_ERROR_NONE;
}

int korvane_get_signup_status(korvane_h handle, bool *is_signed_up)
{
    AgentCall call{handle, since(1, 4)};
    ReadyCall &ready = call.require_given(is_signed_up, "is_signed_up").ready();
    if (!ready)
        return ready.result();

    if (int code = ready.invoke<master::get_signup_status>(is_signed_up))
        return code;
    log::info()("_out_status [%s]"_fmt, *is_signed_up ? "true" : "false");
    return KORVANE_ERROR_NONE;
}

int korvane_get_thing_status(korvane_h handle, int *status)
{
    AgentCall call{handle, since(1, 4)};
    call.require_given(status, "status");
    return call.ready().invoke<master::get_thing_status>(status);
}

int korvane_disable_signin(korvane_h handle, bool disable)
{
    AgentCall call{handle, since(2, 2)};
    ReadyCall &ready = call.ready();
    if (!ready)
        return ready.result();

    const Json request = create_command(ready, master::commands::disable_signin::command.number);
    if (!ready.passed())
        return ready.result();
    // Without memory for the flag the request is sent without it, and the agent judges it.
    cJSON_AddBoolToObject(request.get(), master::commands::disable_signin::disable.key, disable);
    return invoke_command(ready, request.get());
}

int korvane_disconnect_cloud_session(korvane_h handle)
{
    AgentCall call{handle, since(1, 4)};
    return call.ready().invoke<master::disconnect_cloud_session>();
}
