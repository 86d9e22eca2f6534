// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent_call.hpp"

namespace kv::api {

template <class Handle>
struct DelegateOf;

template <class D>
struct DelegateOf<proxy::TypedDelegate<D> *> {
    using Description = D;
};

/// A request of this kind while it is being made: its record and its delegate, by the named functions that create and
/// dispose of the delegate. Both are taken back unless the request turns out to be under way.
template <auto Create, auto Dispose>
class OneShotRequest {
public:
    using Delegate = decltype(Create(nullptr, true, nullptr));
    using D = typename DelegateOf<Delegate>::Description;

    template <class Callback>
    OneShotRequest(AgentCall &call, proxy::DelegateCallback<D> trampoline, Callback callback, void *user_data)
        : call_(call), record_(proxy::make_zeroed<kv_cb_info>())
    {
        if (!call_.require(bool(record_), KORVANE_ERROR_OUT_OF_MEMORY, "Memory allocation is failed"_fmt).passed())
            return;
        record_->handle = call_.handle();
        record_->callback = reinterpret_cast<void (*)()>(callback);
        record_->user_data = user_data;
        delegate_ = Create(trampoline, true, record_.get());
        call_.require(delegate_ != nullptr, KORVANE_ERROR_OUT_OF_MEMORY,
                      Format<concat<"rpc_port_kv_master_", D::text, "_create() failed">>{});
    }
    OneShotRequest(const OneShotRequest &) = delete;
    OneShotRequest &operator=(const OneShotRequest &) = delete;

    ~OneShotRequest()
    {
        if (!delegate_)
            return;
        if (delegate_->listed)
            Dispose(call_.handle()->proxy, delegate_);
        else
            proxy::destroy(delegate_); // the request was refused before it held the delegate
    }

    explicit operator bool() const { return delegate_ != nullptr; }
    Delegate delegate() const { return delegate_; }

    /// The result of the call that carried the delegate. Once under way, record and delegate wait for the answer.
    int settle(int result)
    {
        if (result == KORVANE_ERROR_NONE) {
            call_.handle()->one_shots.add(*record_.release());
            delegate_ = nullptr;
        }
        return result;
    }

private:
    AgentCall &call_;
    proxy::Owned<kv_cb_info> record_;
    Delegate delegate_ = nullptr;
};

} // namespace kv::api
