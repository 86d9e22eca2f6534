// SPDX-License-Identifier: Apache-2.0
#include "connection_events.hpp"

#include "common/agent_state.hpp"
#include "common/log.hpp"
#include "src/korvane/core/session/session.hpp"
#include "src/korvane_master_proxy/exchange.hpp"

#include <last_result.h>

#include <cerrno>

namespace kv::api {

namespace {

/// The handle that a connection handler was registered with; null, with the reason logged, if there is none.
korvane_h enter(void *user_data, Caller caller = Caller::here())
{
    log::info(caller)(">>> called"_fmt);
    if (!user_data)
        log::error(caller)("No user data"_fmt);
    return static_cast<korvane_h>(user_data);
}

/// Calls the application. Its callback may deinitialise, so nothing of the handle is used after it.
void report(korvane_h handle, int result, korvane_connection_status status)
{
    handle->connection_status_cb(result, handle, status, handle->connection_status_data);
}

/// Calls a method whose failure does not matter. Returns false if a callback has ended the session meanwhile.
template <class Method, class... Values>
bool ask(korvane_h handle, Values... values)
{
    set_last_result(0);
    return !proxy::exchange<Method>(handle->proxy, values...).proxy_destroyed;
}

/// Asks the agent whether it waits to be updated. Agents that know the method first learn the version of this library's
/// interface. Returns false if the session or the connection has ended meanwhile; the application then knows the end
/// already.
bool ask_for_update(korvane_h handle, bool &update_ready)
{
    if (agent.current_version() > since(1, 0) &&
        !ask<master::set_api_version>(handle, ApiVersion::major, ApiVersion::minor, ApiVersion::patch))
        return false;
    return ask<master::is_update_ready>(handle, &update_ready) && handle->proxy.is_connected();
}

void _rpc_connected_cb(rpc_port_proxy_kv_master_h, void *user_data)
{
    korvane_h handle = enter(user_data);
    bool update_ready = false;
    if (!handle || !ask_for_update(handle, update_ready))
        return;

    if (update_ready) {
        log::info()("Now update ready mode, connection will be destroyed"_fmt);
        if (handle->connection_status_cb)
            report(handle, KORVANE_ERROR_SERVICE_UNAVAILABLE, KORVANE_CONNECTION_REJECTED);
    } else if (handle->connection_status_cb) {
        log::info()("RPC connected callback to app"_fmt);
        report(handle, KORVANE_ERROR_NONE, KORVANE_CONNECTION_CONNECTED);
    }
}

void _rpc_disconnected_cb(rpc_port_proxy_kv_master_h, void *user_data)
{
    korvane_h handle = enter(user_data);
    if (!handle || !handle->connection_status_cb)
        return;

    if (agent.update <= AgentState::none) {
        log::info()("RPC disconnected callback to app"_fmt);
        report(handle, KORVANE_ERROR_NONE, KORVANE_CONNECTION_DISCONNECTED);
    } else {
        log::info()("RPC disconnected-by-update"_fmt);
        report(handle, KORVANE_ERROR_SERVICE_UNAVAILABLE, KORVANE_CONNECTION_DISCONNECTED);
    }
}

void _rpc_rejected_cb(rpc_port_proxy_kv_master_h, void *user_data)
{
    korvane_h handle = enter(user_data);
    if (!handle || !handle->connection_status_cb)
        return;

    log::info()("RPC rejected callback to app"_fmt);
    // An agent that waits to be updated has the same status; the result, which is never 0, distinguishes the two.
    const int result = get_last_result() == -EIO ? KORVANE_ERROR_IO_ERROR : KORVANE_ERROR_PERMISSION_DENIED;
    report(handle, result, KORVANE_CONNECTION_REJECTED);
}

} // namespace

const rpc_port_proxy_kv_master_callback_s connection_handlers = {_rpc_connected_cb, _rpc_disconnected_cb,
                                                                 _rpc_rejected_cb};

} // namespace kv::api
