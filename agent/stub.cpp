// SPDX-License-Identifier: Apache-2.0
#include "stub.hpp"

#include "handlers.hpp"
#include "show.hpp"

#include <algorithm>

namespace kv::virtual_agent {

namespace {

/// Reads one argument and notes it, so that the journal shows an undecodable request as far as it went.
template <class Element>
bool read_and_show(rpc_port_parcel_h request, typename Argument<Element>::Held &held, Json &shown)
{
    if (!Argument<Element>::read(request, held))
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
        served.decoded = std::apply(
            [&](auto &...values) { return (read_and_show<I>(request, values, served.arguments) && ...); }, held);
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

private:
    static void write(const Answer<M> &answer, int kind, Served &served)
    {
        served.reply = new_parcel();
        rpc_port_parcel_h reply = served.reply.get();
        bool whole = rpc_port_parcel_write_int32(reply, kind) == 0;
        std::apply(
            [&](const auto &...values) {
                ((whole = whole && Wire<O>::write(reply, OutValue<O>::arg(values)),
                  served.answer.set(O::name, show(O{}, OutValue<O>::arg(values)))),
                 ...);
            },
            answer.outs);
        whole = whole && rpc_port_parcel_write_int32(reply, answer.result) == 0;
        served.answer.set("result", answer.result);
        if (!whole)
            throw std::bad_alloc{};
    }
};

template <class... M>
std::vector<MethodEntry> entries_of(describe::List<M...>)
{
    return {MethodEntry{M::name, M::id, M::since, M::in::count, Stub<M, typename M::in, typename M::out>::serve}...};
}

template <class Matches>
const MethodEntry *find(Matches matches)
{
    const auto &methods = all_methods();
    auto found = std::find_if(methods.begin(), methods.end(), matches);
    return found == methods.end() ? nullptr : &*found;
}

} // namespace

const std::vector<MethodEntry> &all_methods()
{
    static const std::vector<MethodEntry> methods = entries_of(master::Methods{});
    return methods;
}

const MethodEntry *find_method(int id)
{
    return find([id](const MethodEntry &method) { return method.id == id; });
}

const MethodEntry *find_method(const std::string &name)
{
    return find([&](const MethodEntry &method) { return name == method.name; });
}

} // namespace kv::virtual_agent
