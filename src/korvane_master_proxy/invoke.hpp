// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "delegate.hpp"
#include "parcel.hpp"

#include <tuple>

namespace kv::proxy {

/// One request and its reply, as far as it is the same for every method. Used in the order: begin, the arguments, send,
/// await_reply, the out values, finish. Any step that cannot be done ends the call with -1.
class Exchange {
public:
    Exchange(rpc_port_proxy_kv_master_h handle, Caller caller) : handle_(handle), caller_(caller) {}
    Exchange(const Exchange &) = delete;
    Exchange &operator=(const Exchange &) = delete;
    ~Exchange()
    {
        if (waiting_)
            g_rec_mutex_unlock(&handle_->mutex);
    }

    bool begin(int method_id, bool arguments_valid);

    template <class E>
    bool write(typename Wire<E>::Arg value)
    {
        return Wire<E>::write(request_.get(), value) && hand_over(value);
    }

    /// A failed send is remembered, and the reply awaited all the same: what has already arrived may be the answer.
    void send();
    bool await_reply();
    rpc_port_parcel_h reply() const { return reply_.get(); }

    /// The agent's result, if the reply holds it after out values that were all there.
    int finish(bool outs_complete);
    /// The request could not be written; nothing was sent.
    int give_up();

private:
    /// From here on the proxy owns the delegate, whatever becomes of the request: the agent may hear of it.
    bool hand_over(Delegate *delegate)
    {
        delegate->listed = true;
        handle_->delegates = g_list_append(handle_->delegates, delegate);
        return true;
    }
    bool hand_over(...) { return true; }

    rpc_port_proxy_kv_master_h handle_;
    Caller caller_;
    Parcel request_;
    Parcel reply_;
    int status_ = 0;
    bool waiting_ = false;
};

template <class M, class Ins, class Outs>
struct Call;

template <class M, class... I, class... O>
struct Call<M, describe::In<I...>, describe::Out<O...>> {
    template <class... Outs>
    static int run(Exchange &&exchange, typename Wire<I>::Arg... args, Outs *...outs)
    {
        const bool valid = (Wire<I>::valid(args) && ...) && ((outs != nullptr) && ...);
        if (!exchange.begin(M::id, valid))
            return -1;
        if (!(exchange.template write<I>(args) && ...))
            return exchange.give_up();
        exchange.send();
        if (!exchange.await_reply())
            return -1;

        std::tuple<typename Wire<O>::Held...> values{};
        const bool complete =
            std::apply([&](auto &...held) { return (Wire<O>::read(exchange.reply(), held) && ...); }, values);
        const int result = exchange.finish(complete);
        if (result == 0)
            std::apply([&](auto &...held) { ((*outs = Wire<O>::release(held)), ...); }, values);
        return result;
    }
};

/// Calls a method in the name of the function that stands in front of it.
class Invoker {
public:
    Invoker(rpc_port_proxy_kv_master_h handle, Caller caller) : handle_(handle), caller_(caller) {}

    template <class M, class... Values>
    int call(Values... values)
    {
        return Call<M, typename M::in, typename M::out>::run(Exchange{handle_, caller_}, values...);
    }

private:
    rpc_port_proxy_kv_master_h handle_;
    Caller caller_;
};

inline Invoker on(rpc_port_proxy_kv_master_h handle, Caller caller = Caller::here())
{
    return {handle, caller};
}

} // namespace kv::proxy
