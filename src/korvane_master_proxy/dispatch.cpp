// SPDX-License-Identifier: Apache-2.0
#include "dispatch.hpp"

#include "delegate.hpp"
#include "src/kv_master/parcel.hpp"

#include <array>
#include <tuple>

using namespace kv;
using namespace kv::proxy;

namespace {

using event_log = master::LogOf<"__kv_master_delegate_">;

/// The delegate's entry of the dispatch table, under whose name the event is logged.
Caller entry_of(int id, int line = __builtin_LINE())
{
    return {name_of_delegate(id), line};
}

/// A delegate while its callback runs. The callback may do anything to the proxy and its list, so nothing of them is
/// used after it: function and user data are copied, and a once-delegate leaves the list before the call. A second event
/// for it then finds none, even while the first is handled.
class Firing {
public:
    Firing(GList **list, int id, int seq_id);
    Firing(const Firing &) = delete;
    Firing &operator=(const Firing &) = delete;
    ~Firing();

    AnyFunction callback = nullptr; // null if no delegate matches
    void *user_data = nullptr;

private:
    int id_;
    Owned<Delegate> once_;
};

Firing::Firing(GList **list, int id, int seq_id) : id_(id)
{
    for (GList *node = *list; node; node = node->next) {
        auto *delegate = static_cast<Delegate *>(node->data);
        if (delegate->seq_id != seq_id || delegate->id != id)
            continue;
        callback = delegate->callback;
        user_data = delegate->user_data;
        if (delegate->once) {
            *list = g_list_delete_link(*list, node);
            once_.reset(delegate);
        }
        event_log::warning(entry_of(id))("Invoke id(%d), seq_id(%d)"_fmt, id, seq_id);
        return;
    }
}

Firing::~Firing()
{
    if (once_)
        event_log::info(entry_of(id_))("Dispose"_fmt);
}

using Entry = void (*)(GList **list, rpc_port_parcel_h parcel, int seq_id, int id);

/// Handles an event whose values have these types. Delegates with the same types of values share an instance.
template <class... Wires>
void dispatch(GList **list, rpc_port_parcel_h parcel, int seq_id, int id)
{
    std::tuple<typename Wires::Received...> values{};
    const bool whole = std::apply([&](auto &...held) { return (Wires::read(parcel, held) && ...); }, values);
    if (!whole) {
        event_log::error(entry_of(id))("Failed to read the values of id(%d), seq_id(%d)"_fmt, id, seq_id);
        return;
    }
    Firing firing{list, id, seq_id};
    if (!firing.callback)
        return;
    auto callback = reinterpret_cast<void (*)(void *, typename Wires::View...)>(firing.callback);
    std::apply([&](auto &...held) { callback(firing.user_data, Wires::view(held)...); }, values);
}

template <class... E>
constexpr Entry entry_for(describe::In<E...>)
{
    return dispatch<typename Wire<E>::Shared...>;
}

template <class... D>
constexpr auto table_of(describe::List<D...>)
{
    std::array<Entry, sizeof...(D) + 1> table{};
    ((table[D::id] = entry_for(typename D::values{})), ...);
    return table;
}

/// By delegate id; ids begin at 1 and have no gap.
constexpr auto dispatch_table = table_of(master::Delegates{});

void __kv_master_process_received_event(GList **list, rpc_port_parcel_h parcel)
{
    int id = 0;
    int seq_id = 0;
    bool once = false; // not used: the delegate itself says it
    if (rpc_port_parcel_read_int32(parcel, &id) != 0 || rpc_port_parcel_read_int32(parcel, &seq_id) != 0 ||
        rpc_port_parcel_read_bool(parcel, &once) != 0) {
        log::error()("Failed to read the event's delegate"_fmt);
        return;
    }
    log::warning()("id(%d), seq_id(%d)"_fmt, id, seq_id);
    if (id < 1 || id >= static_cast<int>(dispatch_table.size())) {
        log::error()("Unknown id(%d)"_fmt, id);
        return;
    }
    dispatch_table[static_cast<std::size_t>(id)](list, parcel, seq_id, id);
}

} // namespace

void __kv_master_on_received(const char *endpoint, const char *port_name, void *data)
{
    auto *h = static_cast<rpc_port_proxy_kv_master_h>(data);
    if (h->destroyed)
        return;
    const ProxyReference held{h}; // the platform may report the end of the connection while it reads
    Parcel parcel;
    const int error = rpc_port_parcel_create_from_port(parcel.out(), h->callback_port);
    if (h->destroyed)
        return;
    if (error != 0) {
        log::error()("Failed to create parcel from port(%s)"_fmt, port_name);
        return;
    }
    int kind = -1;
    if (rpc_port_parcel_read_int32(parcel.get(), &kind) != 0 || kind != master::callback) {
        log::error()("Invalid protocol"_fmt);
        return;
    }
    __kv_master_process_received_event(&h->delegates, parcel.get());
    parcel.destroy();
    log::info()("[__RPC_PORT__] endpoint(%s), port_name(%s)"_fmt, endpoint, port_name);
}
