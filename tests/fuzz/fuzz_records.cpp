// SPDX-License-Identifier: Apache-2.0
// Records, arrays and the values of events, read from a parcel of the host platform. The first byte selects one; the rest is
// the parcel. What can be read is written and read again: the bytes must be the same, and nothing may be left over.

#include "agent/interface/parcel.hpp"
#include "fuzz_input.hpp"

#include <tuple>

namespace {

using namespace kv;
using virtual_agent::bytes_of;
using virtual_agent::new_parcel;
using virtual_agent::Parcel;
using virtual_agent::parcel_of;

/// Reads the values and, if all are there, writes them to another parcel.
template <class... E>
bool copy(describe::In<E...>, rpc_port_parcel_h from, rpc_port_parcel_h to)
{
    std::tuple<typename master::Wire<E>::Received...> values;
    return std::apply(
        [&](auto &...value) {
            const bool all_read = (master::Wire<E>::read(from, value) && ...);
            must(!all_read || (master::Wire<E>::write(to, master::Wire<E>::view(value)) && ...),
                 "what was read cannot be written");
            return all_read;
        },
        values);
}

template <class Values>
void check(Values values, const std::string &bytes)
{
    const Parcel original = parcel_of(bytes);
    const Parcel written = new_parcel();
    if (!copy(values, original.get(), written.get()))
        return;
    const std::string once{bytes_of(written.get())};
    const Parcel again = parcel_of(once);
    const Parcel rewritten = new_parcel();
    must(copy(values, again.get(), rewritten.get()), "what was written cannot be read");
    must(once == bytes_of(rewritten.get()), "what was written is read as something else");
    bool more = false;
    must(rpc_port_parcel_read_bool(again.get(), &more) != 0, "something is left over");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    constexpr std::size_t kinds = master::Records::count + master::Arrays::count + master::Delegates::count;
    FuzzInput input{data, size};
    const std::size_t wanted = input.below(kinds);
    const std::string bytes = input.rest();
    std::size_t next = 0;
    describe::for_each(master::Records{}, [&]<class R>() {
        if (next++ == wanted)
            check(describe::In<describe::Rec<R, "value">>{}, bytes);
    });
    describe::for_each(master::Arrays{}, [&]<class A>() {
        if (next++ == wanted)
            check(describe::In<describe::Arr<A, "value">>{}, bytes);
    });
    describe::for_each(master::Delegates{}, [&]<class D>() {
        if (next++ == wanted)
            check(typename D::values{}, bytes);
    });
    return 0;
}
