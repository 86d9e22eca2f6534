// SPDX-License-Identifier: Apache-2.0
#include "stub.hpp"

#include "agent/journal/show.hpp"
#include "handlers.hpp"
#include "shapes.hpp"

#include <rpc_port_stub.h>

#include <algorithm>

namespace kv::virtual_agent {

namespace {

/// Goes to what stands behind the id of a request, or the kind of a reply.
bool begin_again(rpc_port_parcel_h parcel)
{
    int id_or_kind = 0;
    return rpc_port_parcel_rewind(parcel) == 0 && rpc_port_parcel_read_int32(parcel, &id_or_kind) == 0;
}

/// Reads one value and notes it. False when it is not there, so that a row of values is shown as far as it goes.
template <class Element>
bool read_and_show(rpc_port_parcel_h parcel, Json &shown)
{
    typename Argument<Element>::Held held{};
    if (!Argument<Element>::read(parcel, held))
        return false;
    shown.set(Element::name, show(Element{}, Argument<Element>::view(held)));
    return true;
}

template <class M, class Ins, class Outs>
struct Stub;

template <class M, class... I, class... O>
struct Stub<M, describe::In<I...>, describe::Out<O...>> {
    static Served serve(Handlers &handlers, Call &call, rpc_port_parcel_h request, const Deviation &deviation)
    {
        Served served;
        std::tuple<typename Argument<I>::Held...> held{};
        served.decoded = std::apply([&](auto &...values) { return (Argument<I>::read(request, values) && ...); }, held);
        if (!served.decoded)
            return served;

        Answer<M> answer;
        if (deviation.result)
            answer.result = *deviation.result;
        else
            answer = std::apply(
                [&](auto &...values) -> Answer<M> { return handlers.answer(M{}, call, Argument<I>::view(values)...); },
                held);
        write(answer, deviation.kind, served);
        return served;
    }

    static Json show_arguments(rpc_port_parcel_h request)
    {
        Json shown = Json::object();
        if (begin_again(request))
            static_cast<void>((read_and_show<I>(request, shown) && ...));
        return shown;
    }

    static Json show_answer(rpc_port_parcel_h reply)
    {
        Json shown = Json::object();
        int result = 0;
        if (begin_again(reply) && (read_and_show<O>(reply, shown) && ...) &&
            rpc_port_parcel_read_int32(reply, &result) == 0)
            shown.set("result", result);
        return shown;
    }

    static Json argument_shapes() { return shapes(describe::In<I...>{}); }
    static Json out_shapes() { return shapes(describe::Out<O...>{}); }

private:
    static void write(const Answer<M> &answer, int kind, Served &served)
    {
        served.reply = new_parcel();
        rpc_port_parcel_h reply = served.reply.get();
        bool whole = rpc_port_parcel_write_int32(reply, kind) == 0;
        std::apply(
            [&](const auto &...values) { ((whole = whole && Wire<O>::write(reply, OutValue<O>::arg(values))), ...); },
            answer.outs);
        whole = whole && rpc_port_parcel_write_int32(reply, answer.result) == 0;
        if (!whole)
            throw std::bad_alloc{};
    }
};

template <class M, class S>
MethodEntry entry_of()
{
    return {M::name,           M::id,          M::since,           M::in::count, S::serve,
            S::show_arguments, S::show_answer, S::argument_shapes, S::out_shapes};
}

template <class... M>
std::vector<MethodEntry> entries_of(describe::List<M...>)
{
    return {entry_of<M, Stub<M, typename M::in, typename M::out>>()...};
}

/// By id, which every request is looked up by.
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
