// SPDX-License-Identifier: Apache-2.0
#include "delegate.hpp"

#include <atomic>

namespace kv::proxy {

namespace {

/// One counter for the process, across all types: a number tells a delegate from every other of its life.
constinit std::atomic<int> last_seq_id{0};

const char *yes_or_no(bool value)
{
    return value ? "true" : "false";
}

} // namespace

void write_delegate(rpc_port_parcel_h parcel, void *data, Caller caller)
{
    if (!parcel || !data) {
        log::error(caller)("Invalid parameter"_fmt);
        return;
    }
    auto &delegate = *static_cast<Delegate *>(data);
    delegate.complete = rpc_port_parcel_write_int32(parcel, delegate.id) == 0 &&
                        rpc_port_parcel_write_int32(parcel, delegate.seq_id) == 0 &&
                        rpc_port_parcel_write_bool(parcel, delegate.once) == 0;
}

void read_delegate(rpc_port_parcel_h parcel, void *data, Caller caller)
{
    if (!parcel || !data) {
        log::error(caller)("Invalid parameter"_fmt);
        return;
    }
    auto &delegate = *static_cast<Delegate *>(data);
    delegate.complete = rpc_port_parcel_read_int32(parcel, &delegate.id) == 0 &&
                        rpc_port_parcel_read_int32(parcel, &delegate.seq_id) == 0 &&
                        rpc_port_parcel_read_bool(parcel, &delegate.once) == 0;
    log::info(caller)("id(%d), seq_id(%d), once(%s)"_fmt, delegate.id, delegate.seq_id, yes_or_no(delegate.once));
}

void register_delegate(Delegate &delegate, int id, Caller caller)
{
    delegate.id = id;
    delegate.seq_id = last_seq_id.fetch_add(1) + 1;
    log::info(caller)("id(%d), seq_id(%d)"_fmt, delegate.id, delegate.seq_id);
}

int dispose_delegate(rpc_port_proxy_kv_master_h h, Delegate *delegate, Caller caller)
{
    if (!h || !delegate) {
        log::error(caller)("Invalid handle %p %p"_fmt, static_cast<void *>(h), static_cast<void *>(delegate));
        return -1;
    }
    GList *node = g_list_find(h->delegates, delegate);
    if (!node)
        return -1;
    log::info(caller)("id(%d), seq_id(%d), once(%s)"_fmt, delegate->id, delegate->seq_id, yes_or_no(delegate->once));
    h->delegates = g_list_delete_link(h->delegates, node);
    free(delegate);
    return 0;
}

} // namespace kv::proxy
