// SPDX-License-Identifier: Apache-2.0
// Events from the agent. Two delegates of every type are registered, a lasting one and a one-shot one. Their sequence
// numbers are the same in every run, so that an input can contain them: type n has 2n - 1 and 2n.

#include "fuzz_link.hpp"
#include "src/korvane_master_proxy/delegate.hpp"

#include <cstring>
#include <vector>

namespace {

using namespace kv;

int first_seq_id = 0;

/// Reads every byte of a callback's arguments, so that a sanitizer detects an invalid one.
void use(int) {}
void use(bool) {}
void use(const char *text)
{
    if (!text || std::strlen(text) > 16U * 1024 * 1024)
        std::abort();
}
template <class Struct, class... Fields>
void use_fields(Struct *record, describe::List<Fields...>)
{
    (use([&] {
         if constexpr (std::is_same_v<decltype(record->*Fields::member), int &>)
             return record->*Fields::member;
         else
             return static_cast<const char *>((record->*Fields::member).get());
     }()),
     ...);
}
void use(rpc_port_korvane_ap_info_h record)
{
    use_fields(record, master::ap_info::fields{});
}
void use(rpc_port_korvane_device_prov_info_h record)
{
    use_fields(record, master::device_prov_info::fields{});
}
void use(master::ArrayValue<master::cloud_device_info_array> *array)
{
    for (int i = 0; i < array->present; ++i)
        use_fields(array->items[i], master::cloud_device_info::fields{});
}

template <class D, class Values>
struct Callback;

template <class D, class... E>
struct Callback<D, describe::In<E...>> {
    static void call(void *user_data, typename master::Wire<E>::View... values)
    {
        if (user_data != &first_seq_id)
            std::abort();
        (use(values), ...);
    }
};

void give_to_agent(rpc_port_proxy_kv_master_h handle, proxy::Delegate *delegate, int number)
{
    delegate->seq_id = number;
    handle->delegates = g_list_append(handle->delegates, delegate);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzLink link;
    int next = 1;
    describe::for_each(master::Delegates{}, [&]<class D>() {
        auto callback = Callback<D, typename D::values>::call;
        give_to_agent(link.handle, proxy::create_delegate<D>(callback, false, &first_seq_id), next++);
        give_to_agent(link.handle, proxy::create_delegate<D>(callback, true, &first_seq_id), next++);
    });
    // The same event twice: a one-shot delegate must not run again.
    kv::test::Bytes parcel(data, data + size);
    link.proxy().push_event(parcel);
    link.proxy().push_event(parcel);
    return 0;
}
