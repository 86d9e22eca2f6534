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

OneShotRequest::OneShotRequest(AgentCall &call, AnyFunction callback, void *user_data, int delegate_id,
                               proxy::Delegate *(*create_delegate)(kv_cb_info *record))
    : call_(call), record_(proxy::make_zeroed<kv_cb_info>())
{
    if (!call_.require(bool(record_), KORVANE_ERROR_OUT_OF_MEMORY, "Memory allocation is failed"_fmt).passed())
        return;
    record_->handle = call_.handle();
    record_->callback = callback;
    record_->user_data = user_data;
    delegate_ = create_delegate(record_.get());
    call_.require(delegate_ != nullptr, KORVANE_ERROR_OUT_OF_MEMORY, "rpc_port_kv_master_%s_create() failed"_fmt,
                  proxy::name_of_delegate(delegate_id));
}

OneShotRequest::~OneShotRequest()
{
    if (!delegate_)
        return;
    if (delegate_->listed)
        proxy::dispose_delegate(call_.handle()->proxy, delegate_, delegate_->id);
    else
        proxy::destroy(delegate_); // the request was refused before it held the delegate
}

int OneShotRequest::settle(int result)
{
    if (result == KORVANE_ERROR_NONE) {
        call_.handle()->one_shots.add(*record_.release());
        delegate_ = nullptr;
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
