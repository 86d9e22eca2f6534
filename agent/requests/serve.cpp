// SPDX-License-Identifier: Apache-2.0
#include "handlers.hpp"

#include <array>
#include <utility>

namespace kv::virtual_agent {

namespace {

template <class M>
Parcel encode(const Result<M> &result, int kind)
{
    Parcel made = new_parcel();
    rpc_port_parcel_h reply = made.get();
    bool whole = rpc_port_parcel_write_int32(reply, kind) == 0;
    [&]<class... O>(describe::Out<O...>) {
        std::apply(
            [&](const auto &...values) { ((whole = whole && Wire<O>::write(reply, OutValue<O>::arg(values))), ...); },
            result.outs);
    }(typename M::out{});
    whole = whole && rpc_port_parcel_write_int32(reply, result.result) == 0;
    if (!whole)
        throw std::bad_alloc{};
    return made;
}

template <class M, class... I>
Served serve_as(describe::In<I...>, Handlers &handlers, Call &call, rpc_port_parcel_h request,
                const Deviation &deviation)
{
    std::tuple<typename Wire<I>::Received...> held{};
    const bool decoded = std::apply([&](auto &...values) { return (Wire<I>::read(request, values) && ...); }, held);
    if (!decoded)
        return {};
    Result<M> result;
    if (deviation.result)
        result.result = *deviation.result;
    else
        result = std::apply(
            [&](auto &...values) -> Result<M> { return handlers.handle(M{}, call, Wire<I>::view(values)...); }, held);
    return {true, encode<M>(result, deviation.kind)};
}

using Serve = Served (*)(Handlers &, Call &, rpc_port_parcel_h, const Deviation &);

template <class M>
Served serve_method(Handlers &handlers, Call &call, rpc_port_parcel_h request, const Deviation &deviation)
{
    return serve_as<M>(typename M::in{}, handlers, call, request, deviation);
}

/// In the order of all_methods().
template <class... M>
constexpr std::array<Serve, sizeof...(M)> serves_of(describe::List<M...>)
{
    return {serve_method<M>...};
}

} // namespace

Served Handlers::serve(const MethodEntry &method, Call &call, rpc_port_parcel_h request, const Deviation &deviation)
{
    static constexpr auto serves = serves_of(master::Methods{});
    return serves.at(static_cast<std::size_t>(&method - all_methods().data()))(*this, call, request, deviation);
}

} // namespace kv::virtual_agent
