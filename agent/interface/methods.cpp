// SPDX-License-Identifier: Apache-2.0
#include "methods.hpp"

#include "shapes.hpp"
#include "show.hpp"

#include <algorithm>

namespace kv::virtual_agent {

namespace {

/// Moves to the first value behind the id of a request or the kind of a reply.
bool rewind_to_values(rpc_port_parcel_h parcel)
{
    int id_or_kind = 0;
    return rpc_port_parcel_rewind(parcel) == 0 && rpc_port_parcel_read_int32(parcel, &id_or_kind) == 0;
}

template <class Element>
inline constexpr bool is_array = false;
template <class A, FixedText Name>
inline constexpr bool is_array<describe::Arr<A, Name>> = true;

template <class... I>
constexpr bool has_array(describe::In<I...>)
{
    return (is_array<I> || ...);
}

template <class M>
Json show_arguments(rpc_port_parcel_h request)
{
    Json shown = Json::object();
    if (rewind_to_values(request))
        Shown::arguments<M>(request, shown);
    return shown;
}

template <class M>
Json show_reply(rpc_port_parcel_h reply)
{
    Json shown = Json::object();
    if (rewind_to_values(reply))
        Shown::reply<M>(reply, shown);
    return shown;
}

template <class M>
MethodEntry entry_of()
{
    return {.name = M::name,
            .id = M::id,
            .since = M::since,
            .arguments = M::in::count,
            .has_array = has_array(typename M::in{}),
            .show_arguments = show_arguments<M>,
            .show_reply = show_reply<M>,
            .argument_shapes = [] { return shapes(typename M::in{}); },
            .out_shapes = [] { return shapes(typename M::out{}); }};
}

template <class... M>
std::vector<MethodEntry> entries_of(describe::List<M...>)
{
    return {entry_of<M>()...};
}

/// The methods by id, by which every request finds its own.
std::vector<const MethodEntry *> index_of(const std::vector<MethodEntry> &methods)
{
    std::vector<const MethodEntry *> index(static_cast<std::size_t>(methods.back().id) + 1);
    for (const MethodEntry &method : methods)
        index[static_cast<std::size_t>(method.id)] = &method;
    return index;
}

} // namespace

const std::vector<MethodEntry> &all_methods()
{
    static const std::vector<MethodEntry> methods = entries_of(master::Methods{});
    return methods;
}

const MethodEntry *find_method(int id)
{
    static const std::vector<const MethodEntry *> index = index_of(all_methods());
    return id >= 0 && static_cast<std::size_t>(id) < index.size() ? index[static_cast<std::size_t>(id)] : nullptr;
}

const MethodEntry *find_method(const std::string &name)
{
    const auto &methods = all_methods();
    auto found =
        std::find_if(methods.begin(), methods.end(), [&](const MethodEntry &method) { return name == method.name; });
    return found == methods.end() ? nullptr : &*found;
}

} // namespace kv::virtual_agent
