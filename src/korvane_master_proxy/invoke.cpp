// SPDX-License-Identifier: Apache-2.0
#include "invoke.hpp"

#include <last_result.h>

#include <cerrno>

namespace kv::proxy {

bool Exchange::begin(int method_id, bool arguments_valid)
{
    if (!handle_ || !arguments_valid) {
        log::error(caller_)("Invalid parameter"_fmt);
        return false;
    }
    if (!handle_->port) {
        log::error(caller_)("Not connected"_fmt);
        return false;
    }
    if (int err = rpc_port_parcel_create(request_.out()); err != 0) {
        log::error(caller_)("Failed to create parcel. result(%d)"_fmt, err);
        return false;
    }
    if (rpc_port_parcel_write_int32(request_.get(), method_id) != 0) {
        give_up();
        return false;
    }
    return true;
}

int Exchange::give_up()
{
    // A request that is not whole would be taken for another one.
    log::error(caller_)("Failed to write request"_fmt);
    return -1;
}

void Exchange::send()
{
    if (int err = rpc_port_parcel_send(request_.get(), handle_->port); err != 0) {
        log::error(caller_)("Failed to send parcel. result(%d)"_fmt, err);
        status_ = -EIO;
    }
    request_.destroy();
}

bool Exchange::await_reply()
{
    g_rec_mutex_lock(&handle_->mutex);
    waiting_ = true;
    while (rpc_port_parcel_create_from_port(reply_.out(), handle_->port) == 0) {
        int kind = -1;
        if (rpc_port_parcel_read_int32(reply_.get(), &kind) == 0 && kind == master::result)
            return true;
        reply_.destroy();
    }
    log::error(caller_)("Invalid protocol"_fmt);
    g_rec_mutex_unlock(&handle_->mutex);
    waiting_ = false;
    set_last_result(-EIO);
    return false;
}

int Exchange::finish(bool outs_complete)
{
    int result = -1;
    if (!outs_complete || rpc_port_parcel_read_int32(reply_.get(), &result) != 0) {
        log::error(caller_)("Incomplete reply"_fmt);
        result = -1;
    }
    reply_.destroy();
    g_rec_mutex_unlock(&handle_->mutex);
    waiting_ = false;
    set_last_result(status_);
    return result;
}

} // namespace kv::proxy
