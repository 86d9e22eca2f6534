// SPDX-License-Identifier: Apache-2.0
#include "agent_call.hpp"

#include "session.hpp"

#include <last_result.h>

#include <cerrno>

namespace kv::api {

constinit korvane_h live_session = nullptr;

namespace {

gboolean _master_rpc_io_error_cb(void *data)
{
    log::info()(">>> called"_fmt);
    auto *handle = static_cast<korvane_h>(data);
    if (!live_session) {
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
        .require(handle == live_session, "handle is not the live one"_fmt);
}

ReadyCall::ReadyCall(korvane_h handle, int minimum_version, Caller caller)
    : HandleCall(handle, minimum_version, caller), session_(handle)
{
}

ReadyCall &AgentCall::ready()
{
    call_.agent_not_installing();
    return call_;
}

int ReadyCall::invoke(const master::MethodRow &method, const proxy::Value *values)
{
    if (!passed())
        return result();
    return exchange(method, values) ? KORVANE_ERROR_NONE : fail();
}

bool ReadyCall::exchange(const master::MethodRow &method, const proxy::Value *values)
{
    set_last_result(0);
    const proxy::Outcome outcome = proxy::exchange(session_->proxy, method, values);
    if (outcome.proxy_destroyed)
        session_ = nullptr;
    else if (outcome.result == 0)
        return true;
    err_ = outcome.result;
    last_result_ = get_last_result();
    return false;
}

int ReadyCall::fail()
{
    log::error(caller_)("%s() is failed, err=[%d] r=[%d]"_fmt, caller_.function, err_, last_result_);
    if (session_ && last_result_ == -EIO) {
        schedule_io_error_notice();
        result_ = KORVANE_ERROR_IO_ERROR;
    } else {
        result_ = session_ && err_ == -EACCES ? KORVANE_ERROR_PERMISSION_DENIED : KORVANE_ERROR_OPERATION_FAILED;
    }
    return result_;
}

/// At most one notice is pending: it also reports the failures that follow until it runs.
void ReadyCall::schedule_io_error_notice()
{
    if (session_->io_error_notice.pending() || !session_->rpc_io_error_cb)
        return;
    log::info(caller_)("rpc io error callback will be called"_fmt);
    session_->io_error_notice.add(_master_rpc_io_error_cb, session_);
}

} // namespace kv::api
