// SPDX-License-Identifier: Apache-2.0
// Replies from the agent. The first byte selects the method. The rest is the input of the main port: parcels, each after
// its length in one byte, so that an input can contain parcels of other kinds before the reply.
//
// The results of the calls do not matter. An input fails if a sanitizer reports an error, or if FuzzLink finds a misuse of
// the platform or a handle left alive. An id without a method calls nothing.

#include "fuzz_link.hpp"
#include "src/korvane_master_proxy/exchange.hpp"

#include <tuple>

namespace {

using namespace kv;

/// A valid argument of each kind of element. A new kind needs a case here.
template <class E>
struct Sample;
template <FixedText N>
struct Sample<describe::Int32<N>> {
    int value = 7;
};
template <FixedText N>
struct Sample<describe::Bool<N>> {
    bool value = true;
};
template <FixedText N>
struct Sample<describe::String<N>> {
    const char *value = "text";
};
template <FixedText N>
struct Sample<describe::Secret<N>> : Sample<describe::String<N>> {
};
template <const auto &Documents, FixedText N>
struct Sample<describe::DocumentText<Documents, N>> : Sample<describe::String<N>> {
};
template <class R, FixedText N>
struct Sample<describe::Rec<R, N>> {
    Owned<typename R::type> owned{master::RecordCodec<R>::create()};
    typename R::type *value = owned.get();
};
template <class A, FixedText N>
struct Sample<describe::Arr<A, N>> {
    Owned<master::ArrayValue<A>> owned{master::ArrayCodec<A>::create()};
    master::ArrayValue<A> *value = owned.get();
};
template <class D>
struct Sample<describe::Callback<D>> {
    Owned<proxy::Delegate> owned{proxy::create_delegate<D>(nullptr, false, nullptr)};
    Owned<proxy::Delegate> *value = &owned;
};

/// An out argument that frees the returned value.
template <class Held>
struct Out;
template <>
struct Out<int> {
    int value = 0;
};
template <>
struct Out<bool> {
    bool value = false;
};
template <>
struct Out<CText> {
    ~Out() { free(value); }
    char *value = nullptr;
};

template <class M, class... I, class... O>
void call(rpc_port_proxy_kv_master_h handle, describe::In<I...>, describe::Out<O...>)
{
    std::tuple<Sample<I>...> arguments;
    std::tuple<Out<typename master::Wire<O>::Received>...> outs;
    std::apply(
        [&](auto &...argument) {
            std::apply([&](auto &...out) { proxy::exchange<M>(handle, argument.value..., &out.value...); }, outs);
        },
        arguments);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    FuzzLink link;
    const int method_id = data[0];
    for (std::size_t at = 1; at < size;) {
        const std::size_t length = std::min<std::size_t>(data[at], size - at - 1);
        link.proxy().main_port.push(kv::test::Bytes(data + at + 1, data + at + 1 + length));
        at += 1 + length;
    }
    describe::for_each(master::Methods{}, [&]<class M>() {
        if (M::id == method_id)
            call<M>(link.handle, typename M::in{}, typename M::out{});
    });
    return 0;
}
