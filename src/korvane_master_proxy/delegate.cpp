// SPDX-License-Identifier: Apache-2.0
#include "delegate.hpp"

#include <array>
#include <atomic>

namespace kv::proxy {

namespace {

/// One counter for the process, across all types: a number tells a delegate from every other of its life.
constinit std::atomic<int> last_seq_id{0};

const char *yes_or_no(bool value)
{
    return value ? "true" : "false";
}

template <class... D>
constexpr auto names_of(describe::List<D...>)
{
    std::array<const char *, sizeof...(D) + 1> names{};
    ((names[D::id] = D::name), ...);
    return names;
}

/// By delegate id; ids begin at 1.
constexpr auto delegate_names = names_of(master::Delegates{});

Caller named(int id, int line = __builtin_LINE())
{
    return {name_of_delegate(id), line};
}

} // namespace

const char *name_of_delegate(int id)
{
    return delegate_names[static_cast<std::size_t>(id)];
}

void write_delegate(rpc_port_parcel_h parcel, void *data, int id)
{
    if (!parcel || !data) {
        LogOf<"__kv_master_", "_to">::error(named(id))("Invalid parameter"_fmt);
        return;
    }
    auto &delegate = *static_cast<Delegate *>(data);
    delegate.complete = rpc_port_parcel_write_int32(parcel, delegate.id) == 0 &&
                        rpc_port_parcel_write_int32(parcel, delegate.seq_id) == 0 &&
                        rpc_port_parcel_write_bool(parcel, delegate.once) == 0;
}

void read_delegate(rpc_port_parcel_h parcel, void *data, int id)
{
    using reader_log = LogOf<"__kv_master_", "_from">;

    if (!parcel || !data) {
        reader_log::error(named(id))("Invalid parameter"_fmt);
        return;
    }
    auto &delegate = *static_cast<Delegate *>(data);
    delegate.complete = rpc_port_parcel_read_int32(parcel, &delegate.id) == 0 &&
                        rpc_port_parcel_read_int32(parcel, &delegate.seq_id) == 0 &&
                        rpc_port_parcel_read_bool(parcel, &delegate.once) == 0;
    reader_log::info(named(id))("id(%d), seq_id(%d), once(%s)"_fmt, delegate.id, delegate.seq_id,
                                yes_or_no(delegate.once));
}

Delegate *create_delegate(int id, rpc_port_parcelable_t functions, AnyFunction callback, bool once, void *user_data)
{
    using create_log = LogOf<"rpc_port_kv_master_", "_create">;

    auto *delegate = make_zeroed<Delegate>();
    if (!delegate) {
        create_log::error(named(id))("Out of memory"_fmt);
        return nullptr;
    }
    delegate->functions = functions;
    delegate->id = id;
    delegate->seq_id = last_seq_id.fetch_add(1) + 1;
    delegate->callback = callback;
    delegate->once = once;
    delegate->user_data = user_data;
    create_log::info(named(id))("id(%d), seq_id(%d)"_fmt, delegate->id, delegate->seq_id);
    return delegate;
}

int dispose_delegate(rpc_port_proxy_kv_master_h h, Delegate *delegate, int id)
{
    using dispose_log = LogOf<"rpc_port_proxy_kv_master_", "_dispose">;

    if (!h || !delegate) {
        dispose_log::error(named(id))("Invalid handle %p %p"_fmt, static_cast<void *>(h),
                                      static_cast<void *>(delegate));
        return -1;
    }
    GList *node = g_list_find(h->delegates, delegate);
    if (!node)
        return -1;
    dispose_log::info(named(id))("id(%d), seq_id(%d), once(%s)"_fmt, delegate->id, delegate->seq_id,
                                 yes_or_no(delegate->once));
    h->delegates = g_list_delete_link(h->delegates, node);
    free(delegate);
    return 0;
}

} // namespace kv::proxy
