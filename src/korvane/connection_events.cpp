// SPDX-License-Identifier: Apache-2.0
#include "connection_events.hpp"

#include "common/agent_state.hpp"
#include "common/log.hpp"

#include "src/korvane/core/handle.hpp"
#include "src/korvane_master_proxy/invoke.hpp"

#include <last_result.h>

#include <cerrno>

namespace kv::api {

namespace {

/// The handle that a connection handler was registered with; none, with the reason logged, when there is none.
korvane_h entered_with(void *user_data, Caller caller = Caller::here())
{
    log::info(caller)(">>> called"_fmt);
    if (!user_data)
        log::error(caller)("No user data"_fmt);
    return static_cast<korvane_h>(user_data);
}

/// The callback may deinitialise: nothing of the handle is touched after it.
void tell(korvane_h handle, int result, korvane_connection_status status)
{
    handle->connection_status_cb(result, handle, status, handle->connection_status_data);
}

void _rpc_connected_cb(rpc_port_proxy_kv_master_h, void *user_data)
{
    korvane_h handle = entered_with(user_data);
    if (!handle)
        return;

    // Agents that know the method are told before anything else; that one fails is no reason to stop.
    if (agent.current_version() > since(1, 0))
        proxy::invoke<master::set_api_version>(handle->proxy, ApiVersion::major, ApiVersion::minor, ApiVersion::patch);
    bool update_ready = false;
    proxy::invoke<master::is_update_ready>(handle->proxy, &update_ready);

    if (update_ready) {
        log::info()("Now update ready mode, connection will be destroyed"_fmt);
        if (handle->connection_status_cb)
            tell(handle, KORVANE_ERROR_SERVICE_UNAVAILABLE, KORVANE_CONNECTION_REJECTED);
    } else if (handle->connection_status_cb) {
        log::info()("RPC connected callback to app"_fmt);
        tell(handle, KORVANE_ERROR_NONE, KORVANE_CONNECTION_CONNECTED);
    }
}

void _rpc_disconnected_cb(rpc_port_proxy_kv_master_h, void *user_data)
{
    korvane_h handle = entered_with(user_data);
    if (!handle || !handle->connection_status_cb)
        return;

    if (agent.update <= AgentState::none) {
        log::info()("RPC disconnected callback to app"_fmt);
        tell(handle, KORVANE_ERROR_NONE, KORVANE_CONNECTION_DISCONNECTED);
    } else {
        log::info()("RPC disconnected-by-update"_fmt);
        tell(handle, KORVANE_ERROR_SERVICE_UNAVAILABLE, KORVANE_CONNECTION_DISCONNECTED);
    }
}

void _rpc_rejected_cb(rpc_port_proxy_kv_master_h, void *user_data)
{
    korvane_h handle = entered_with(user_data);
    if (!handle || !handle->connection_status_cb)
        return;

    log::info()("RPC rejected callback to app"_fmt);
    // The status is shared with the update-ready case; the result tells the two apart and is never 0.
    const int result = get_last_result() == -EIO ? KORVANE_ERROR_IO_ERROR : KORVANE_ERROR_PERMISSION_DENIED;
    tell(handle, result, KORVANE_CONNECTION_REJECTED);
}

} // namespace

const rpc_port_proxy_kv_master_callback_s connection_handlers = {_rpc_connected_cb, _rpc_disconnected_cb,
                                                                 _rpc_rejected_cb};

} // namespace kv::api
