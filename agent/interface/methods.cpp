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

/// Decodes one value and adds it to `shown`. Returns false if it is missing, so that a truncated parcel is shown as far
/// as it can be decoded.
template <class Element>
bool read_and_show(rpc_port_parcel_h parcel, Json &shown)
{
    typename Argument<Element>::Received held{};
    if (!Argument<Element>::read(parcel, held))
        return false;
    shown.set(Element::name, show(Element{}, Argument<Element>::view(held)));
    return true;
}

template <class Element>
inline constexpr bool is_array = false;
template <class A, FixedText Name>
inline constexpr bool is_array<describe::Arr<A, Name>> = true;

template <class Ins, class Outs>
struct Row;

template <class... I, class... O>
struct Row<describe::In<I...>, describe::Out<O...>> {
    static constexpr bool has_array = (is_array<I> || ...);

    static Json show_arguments(rpc_port_parcel_h request)
    {
        Json shown = Json::object();
        if (rewind_to_values(request))
            static_cast<void>((read_and_show<I>(request, shown) && ...));
        return shown;
    }

    static Json show_reply(rpc_port_parcel_h reply)
    {
        Json shown = Json::object();
        int result = 0;
        if (rewind_to_values(reply) && (read_and_show<O>(reply, shown) && ...) &&
            rpc_port_parcel_read_int32(reply, &result) == 0)
            shown.set("result", result);
        return shown;
    }

    static Json argument_shapes() { return shapes(describe::In<I...>{}); }
    static Json out_shapes() { return shapes(describe::Out<O...>{}); }
};

template <class M, class R>
MethodEntry entry_of()
{
    return {M::name,           M::id,         M::since,           M::in::count, R::has_array,
            R::show_arguments, R::show_reply, R::argument_shapes, R::out_shapes};
}

template <class... M>
std::vector<MethodEntry> entries_of(describe::List<M...>)
{
    return {entry_of<M, Row<typename M::in, typename M::out>>()...};
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
