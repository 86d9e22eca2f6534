// SPDX-License-Identifier: Apache-2.0
#include "delegate.hpp"

#include "src/kv_master/name_table.hpp"

#include <array>
#include <atomic>

namespace kv::proxy {

namespace {

/// One counter for the process, across all types.
constinit std::atomic<int> last_seq_id{0};

const char *yes_or_no(bool value)
{
    return value ? "true" : "false";
}

/// The positions of names in the name table, by delegate id. Ids begin at 1.
template <class... D>
consteval auto name_offsets(describe::List<D...>)
{
    std::array<std::uint16_t, sizeof...(D) + 1> offsets{};
    ((offsets[D::id] = master::names.offset_of(D::name)), ...);
    return offsets;
}

constexpr auto delegate_names = name_offsets(master::Delegates{});

Caller named(int id, int line = __builtin_LINE())
{
    return {name_of_delegate(id), line};
}

/// Writes id, sequence number and once. `id` is that of the type, for the log.
void write_delegate(rpc_port_parcel_h parcel, void *data, int id)
{
    if (!parcel || !data) {
        master::LogOf<"__kv_master_", "_to">::error(named(id))("Invalid parameter"_fmt);
        return;
    }
    auto &delegate = *static_cast<Delegate *>(data);
    delegate.complete = rpc_port_parcel_write_int32(parcel, delegate.id) == 0 &&
                        rpc_port_parcel_write_int32(parcel, delegate.seq_id) == 0 &&
                        rpc_port_parcel_write_bool(parcel, delegate.once) == 0;
}

/// Reads the same values; an agent does that.
void read_delegate(rpc_port_parcel_h parcel, void *data, int id)
{
    using reader_log = master::LogOf<"__kv_master_", "_from">;

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

template <class D>
struct DelegateCodec {
    static void to(rpc_port_parcel_h parcel, void *data) { write_delegate(parcel, data, D::id); }
    static void from(rpc_port_parcel_h parcel, void *data) { read_delegate(parcel, data, D::id); }
};

/// Writer and reader of each type, by delegate id from 1.
template <class... D>
constexpr auto codecs_of(describe::List<D...>)
{
    return std::array<rpc_port_parcelable_t, sizeof...(D)>{{{DelegateCodec<D>::to, DelegateCodec<D>::from}...}};
}

constexpr auto delegate_codecs = codecs_of(master::Delegates{});

} // namespace

const char *name_of_delegate(int id)
{
    return master::names.at(delegate_names[static_cast<std::size_t>(id)]);
}

Delegate *number_delegate(Delegate *zeroed, int id, AnyFunction callback, bool once, void *user_data)
{
    using create_log = master::LogOf<"rpc_port_kv_master_", "_create">;

    if (!zeroed) {
        create_log::error(named(id))("Out of memory"_fmt);
        return nullptr;
    }
    zeroed->functions = delegate_codecs[static_cast<std::size_t>(id - 1)];
    zeroed->id = id;
    zeroed->seq_id = last_seq_id.fetch_add(1) + 1;
    zeroed->callback = callback;
    zeroed->once = once;
    zeroed->user_data = user_data;
    create_log::info(named(id))("id(%d), seq_id(%d)"_fmt, zeroed->id, zeroed->seq_id);
    return zeroed;
}

Delegate *create_delegate(int id, AnyFunction callback, bool once, void *user_data)
{
    return number_delegate(make_zeroed<Delegate>(), id, callback, once, user_data);
}

Delegate *find_delegate(rpc_port_proxy_kv_master_h h, int seq_id)
{
    for (GList *node = h->delegates; node; node = node->next) {
        auto *delegate = static_cast<Delegate *>(node->data);
        if (delegate->seq_id == seq_id)
            return delegate;
    }
    return nullptr;
}

int dispose_delegate(rpc_port_proxy_kv_master_h h, Delegate *delegate, int id)
{
    using dispose_log = master::LogOf<"rpc_port_proxy_kv_master_", "_dispose">;

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
    destroy(delegate);
    return 0;
}

int dispose_delegate(rpc_port_proxy_kv_master_h h, int seq_id)
{
    Delegate *delegate = find_delegate(h, seq_id);
    return delegate ? dispose_delegate(h, delegate, delegate->id) : -1;
}

} // namespace kv::proxy
