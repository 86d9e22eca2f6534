// SPDX-License-Identifier: Apache-2.0
#include "common/update_monitor.hpp"

#include "connection_events.hpp"
#include "src/korvane/core/events/one_shot_request.hpp"
#include "src/korvane/core/session/agent_call.hpp"

#include <last_result.h>

#include <cerrno>

using namespace kv;
using namespace kv::api;

namespace {

/// The arguments of start and start_async. They mean something to the agent only.
constexpr const char *start_text = "";
constexpr int start_number = 0;

/// Makes the next check ask the package manager again.
void forget_agent()
{
    agent.support = AgentState::unknown;
    agent.version = 0;
    if (live_session)
        live_session->io_error_notice.remove();
}

int result_of_connect(int err)
{
    switch (err) {
    case -EACCES: return KORVANE_ERROR_PERMISSION_DENIED;
    case -EIO: return KORVANE_ERROR_SERVICE_UNAVAILABLE;
    default: return KORVANE_ERROR_OPERATION_FAILED;
    }
}

void release(korvane_h handle)
{
    live_session = nullptr;
    destroy(handle);
}

void _start_async_result_cb(void *user_data, int result)
{
    CompletedRequest request{user_data};
    request.deliver<korvane_start_result_cb, "result [%d]">(result);
}

} // namespace

int korvane_initialize(korvane_h *handle, korvane_connection_status_cb callback, void *user_data)
{
    Preamble call{Caller::here()};
    log::info()("API version : [%d.%d.%d]"_fmt, ApiVersion::major, ApiVersion::minor, ApiVersion::patch);
    forget_agent();
    call.agent_present(any_agent).require_handle(handle);
    call.require(agent.update < AgentState::started, KORVANE_ERROR_SERVICE_UNAVAILABLE,
                 "Started to update agent, so service is unavailable"_fmt);
    call.require(!live_session, KORVANE_ERROR_OPERATION_FAILED, "Already initialized"_fmt);
    if (!call.passed())
        return call.result();

    *handle = nullptr;
    Owned made{make_zeroed<korvane_s>()};
    if (!made) {
        log::error()("Memory allocation is failed"_fmt);
        return KORVANE_ERROR_OUT_OF_MEMORY;
    }
    made->connection_status_cb = callback;
    made->connection_status_data = user_data;

    int err = rpc_port_proxy_kv_master_create(KORVANE_AGENT_APPID, &connection_handlers, made.get(), made->proxy.out());
    if (err != 0) {
        log::error()("rpc_port_proxy_kv_master_create() is failed, err=[%d]"_fmt, err);
        return KORVANE_ERROR_OPERATION_FAILED;
    }
    live_session = made.release();
    *handle = live_session;
    set_last_result(0);

    err = rpc_port_proxy_kv_master_connect(live_session->proxy);
    if (err != 0) {
        log::error()("rpc_port_proxy_kv_master_connect() is failed, err=[%d]"_fmt, err);
        release(live_session);
        *handle = nullptr;
        return result_of_connect(err);
    }

    err = live_session->update_status.add(KORVANE_UPDATE_STATUS_EVENT, _update_status_event_cb, nullptr);
    if (err != 0)
        log::info()("event_add_event_handler() is failed, err=[%d]"_fmt, err);
    return KORVANE_ERROR_NONE;
}

int korvane_deinitialize(korvane_h handle)
{
    HandleCall call{handle, any_agent};
    if (!call.passed())
        return call.result();

    release(handle);
    agent.update = AgentState::none;
    agent.version = 0;
    return KORVANE_ERROR_NONE;
}

int korvane_start(korvane_h handle)
{
    AgentCall call{handle, any_agent};
    ReadyCall &ready = call.ready();
    if (!ready)
        return ready.result();
    if (!ready.require(handle->proxy != nullptr, KORVANE_ERROR_OPERATION_FAILED, "agent is not ready yet"_fmt).passed())
        return ready.result();

    return ready.invoke<master::start>(start_text, start_number, start_number);
}

int korvane_start_async(korvane_h handle, korvane_start_result_cb callback, void *user_data)
{
    AgentCall call{handle, since(2, 0)};
    call.require_given(callback, "start_result_cb");
    return request_once<master::start_async, _start_async_result_cb>(call.ready(), callback, user_data, start_text,
                                                                     start_number, start_number);
}

int korvane_stop(korvane_h handle)
{
    // Unlike start, it has no check for an agent that is not ready: the call fails by itself.
    AgentCall call{handle, any_agent};
    return call.ready().invoke<master::stop>();
}

int korvane_set_rpc_io_error_cb(korvane_h handle, korvane_rpc_io_error_cb callback, void *user_data)
{
    HandleCall call{handle, any_agent};
    if (!call.require_given(callback, "rpc_io_error_cb").passed())
        return call.result();

    handle->rpc_io_error_cb = callback;
    handle->rpc_io_error_data = user_data;
    return KORVANE_ERROR_NONE;
}

int korvane_unset_rpc_io_error_cb(korvane_h handle)
{
    HandleCall call{handle, any_agent};
    if (!call.passed())
        return call.result();

    handle->rpc_io_error_cb = nullptr;
    handle->rpc_io_error_data = nullptr;
    return KORVANE_ERROR_NONE;
}
