// SPDX-License-Identifier: Apache-2.0
#include "one_shot_request.hpp"

namespace kv::api {

void kv_cb_info::unlink()
{
    if (!link)
        return;
    *link = next;
    if (next)
        next->link = link;
    link = nullptr;
}

OneShotRecords::~OneShotRecords()
{
    while (first_)
        proxy::destroy(first_);
}

void OneShotRecords::add(kv_cb_info &record)
{
    record.next = first_;
    record.link = &first_;
    if (first_)
        first_->link = &record.next;
    first_ = &record;
}

namespace {

/// A delegate until its request is under way. One that the request has carried is the proxy's.
class PendingDelegate {
public:
    PendingDelegate(rpc_port_proxy_kv_master_h proxy, proxy::Delegate *delegate) : proxy_(proxy), delegate_(delegate) {}
    PendingDelegate(const PendingDelegate &) = delete;
    PendingDelegate &operator=(const PendingDelegate &) = delete;
    ~PendingDelegate()
    {
        if (!delegate_)
            return;
        if (delegate_->listed)
            proxy::dispose_delegate(proxy_, delegate_, delegate_->id);
        else
            proxy::destroy(delegate_);
    }

    proxy::Delegate *get() const { return delegate_; }
    void release() { delegate_ = nullptr; }

private:
    rpc_port_proxy_kv_master_h proxy_;
    proxy::Delegate *delegate_;
};

} // namespace

int request_once(AgentCall &call, const OneShotKind &kind, AnyFunction callback, void *user_data,
                 const proxy::Value *values, proxy::Value &delegate)
{
    if (!call.ready())
        return call.result();
    proxy::Owned<kv_cb_info> record{proxy::make_zeroed<kv_cb_info>()};
    if (!call.require_memory(bool(record)).passed())
        return call.result();
    record->handle = call.handle();
    record->callback = callback;
    record->user_data = user_data;

    PendingDelegate pending{call.handle()->proxy, kind.create_delegate(record.get())};
    if (!call.require(pending.get() != nullptr, KORVANE_ERROR_OUT_OF_MEMORY,
                      "rpc_port_kv_master_%s_create() failed"_fmt, proxy::name_of_delegate(kind.delegate_id))
             .passed())
        return call.result();
    delegate.parcelable = pending.get();
    const int result = call.invoke(kind.method_text, values);
    if (result == KORVANE_ERROR_NONE) {
        call.handle()->one_shots.add(*record.release());
        pending.release();
    }
    return result;
}

Answer::Answer(void *data, Caller caller) : record_(static_cast<kv_cb_info *>(data)), caller_(caller)
{
    log::info(caller_)(">>> called"_fmt);
    if (!record_) {
        log::error(caller_)("kv_cb_info is NULL"_fmt);
        return;
    }
    record_->unlink();
}

} // namespace kv::api
