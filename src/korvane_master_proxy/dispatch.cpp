// SPDX-License-Identifier: Apache-2.0
#include "dispatch.hpp"

#include "delegate.hpp"
#include "parcel.hpp"

#include <array>
#include <tuple>

using namespace kv;
using namespace kv::proxy;

namespace {

/// A delegate for the time of its call. Whatever the callback does to the proxy and its list, nothing of them is used
/// after it: the callback is copied, and a once-delegate is taken off the list beforehand, so that a second event finds
/// none even while the first is being handled.
class Firing {
public:
    Firing(GList **list, int id, int seq_id, Caller caller) : caller_(caller)
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
            log::warning(caller_)("Invoke id(%d), seq_id(%d)"_fmt, id, seq_id);
            return;
        }
    }
    Firing(const Firing &) = delete;
    Firing &operator=(const Firing &) = delete;
    ~Firing()
    {
        if (once_)
            log::info(caller_)("Dispose"_fmt);
    }

    void (*callback)() = nullptr; // none when no delegate matches
    void *user_data = nullptr;

private:
    Caller caller_;
    Owned<Delegate> once_;
};

using Entry = void (*)(GList **list, rpc_port_parcel_h parcel, int seq_id, int id);

template <class D, class Values>
struct Event;

template <class D, class... E>
struct Event<D, describe::In<E...>> {
    static void dispatch(GList **list, rpc_port_parcel_h parcel, int seq_id, int id)
    {
        constexpr Caller self{concat<"__kv_master_delegate_", D::text>.text, __LINE__};

        std::tuple<typename Wire<E>::Held...> values{};
        const bool whole = std::apply([&](auto &...held) { return (Wire<E>::read(parcel, held) && ...); }, values);
        if (!whole) {
            log::error(self)("Failed to read the values of id(%d), seq_id(%d)"_fmt, id, seq_id);
            return;
        }
        Firing firing{list, id, seq_id, self};
        if (!firing.callback)
            return;
        auto callback = reinterpret_cast<DelegateCallback<D>>(firing.callback);
        std::apply([&](auto &...held) { callback(firing.user_data, Wire<E>::view(held)...); }, values);
    }
};

template <class... D>
constexpr auto table_of(describe::List<D...>)
{
    std::array<Entry, sizeof...(D) + 1> table{};
    ((table[D::id] = Event<D, typename D::values>::dispatch), ...);
    return table;
}

/// By delegate id; ids begin at 1.
constexpr auto dispatch_table = table_of(master::Delegates{});

void __kv_master_process_received_event(GList **list, rpc_port_parcel_h parcel)
{
    int id = 0;
    int seq_id = 0;
    bool once = false; // the record knows better
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
    if (Entry entry = dispatch_table[static_cast<std::size_t>(id)])
        entry(list, parcel, seq_id, id);
}

} // namespace

void __kv_master_on_received(const char *endpoint, const char *port_name, void *data)
{
    auto *h = static_cast<rpc_port_proxy_kv_master_h>(data);
    Parcel parcel;
    if (rpc_port_parcel_create_from_port(parcel.out(), h->callback_port) != 0) {
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
