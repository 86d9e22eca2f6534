// SPDX-License-Identifier: Apache-2.0
#include "agent_call.hpp"

#include <last_result.h>

#include <cerrno>

namespace kv::api {

constinit korvane_h live_handle = nullptr;

namespace {

gboolean _master_rpc_io_error_cb(void *data)
{
    log::info()(">>> called"_fmt);
    auto *handle = static_cast<korvane_h>(data);
    if (!live_handle) {
        log::info()("Already deinitialized"_fmt);
        return G_SOURCE_REMOVE;
    }
    if (!handle) {
        log::error()("Handle is NULL"_fmt);
        return G_SOURCE_REMOVE;
    }
    handle->io_error_notice.ran();
    if (handle->rpc_io_error_cb)
        handle->rpc_io_error_cb(handle, handle->rpc_io_error_data);
    return G_SOURCE_REMOVE;
}

} // namespace

LocalCall::LocalCall(const void *handle, int minimum_version, Caller caller) : Preamble(caller)
{
    agent_present(minimum_version).require_handle(handle);
}

HandleCall::HandleCall(korvane_h handle, int minimum_version, Caller caller) : Preamble(caller)
{
    agent_present(minimum_version)
        .require_handle(handle)
        .require(handle == live_handle, "handle is not the live one"_fmt);
}

AgentCall::AgentCall(korvane_h handle, int minimum_version, Caller caller)
    : HandleCall(handle, minimum_version, caller), handle_(handle)
{
}

bool AgentCall::ready()
{
    return agent_not_installing().passed();
}

int AgentCall::invoke(const char *method_text, const proxy::Value *values)
{
    if (!ready())
        return result();
    set_last_result(0);
    const int err = proxy::invoke(handle_->proxy, method_text, values);
    return err == 0 ? KORVANE_ERROR_NONE : fail(err, get_last_result());
}

int AgentCall::fail(int err, int last_result)
{
    log::error(caller_)("%s() is failed, err=[%d] r=[%d]"_fmt, caller_.function, err, last_result);
    if (last_result == -EIO) {
        schedule_io_error_notice();
        result_ = KORVANE_ERROR_IO_ERROR;
    } else {
        result_ = err == -EACCES ? KORVANE_ERROR_PERMISSION_DENIED : KORVANE_ERROR_OPERATION_FAILED;
    }
    return result_;
}

/// One notice at a time: failures while it is pending are told with it.
void AgentCall::schedule_io_error_notice()
{
    if (handle_->io_error_notice.pending() || !handle_->rpc_io_error_cb)
        return;
    log::info(caller_)("rpc io error callback will be called"_fmt);
    handle_->io_error_notice.add(_master_rpc_io_error_cb, handle_);
}

} // namespace kv::api
