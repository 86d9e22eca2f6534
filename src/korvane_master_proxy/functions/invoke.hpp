// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/korvane_master_proxy/exchange.hpp"

/// Calls with plain pointers to delegates. The proxy owns a delegate once the request holds it; before that its caller
/// still does, so a delegate is only lent here.
namespace kv::proxy {

template <class T>
struct Plain {
    T value;
    T argument() { return value; }
};

class LentDelegate {
public:
    explicit LentDelegate(Delegate *delegate) : owner_(delegate) {}
    LentDelegate(const LentDelegate &) = delete;
    LentDelegate &operator=(const LentDelegate &) = delete;
    ~LentDelegate() { owner_.release(); }

    Owned<Delegate> *argument() { return &owner_; }

private:
    Owned<Delegate> owner_;
};

template <class T>
Plain<T> lend(T value)
{
    return {value};
}

template <class D>
LentDelegate lend(TypedDelegate<D> *delegate)
{
    return LentDelegate{delegate};
}

template <class M, class... Values>
int invoke(rpc_port_proxy_kv_master_h handle, Values... values)
{
    return exchange<M>(handle, lend(values).argument()...).result;
}

} // namespace kv::proxy
