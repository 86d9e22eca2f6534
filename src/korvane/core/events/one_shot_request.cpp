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

OneShotRequests::~OneShotRequests()
{
    while (first_)
        destroy(first_);
}

void OneShotRequests::add(Owned<kv_cb_info> record)
{
    kv_cb_info *added = record.release();
    added->next = first_;
    added->link = &first_;
    if (first_)
        first_->link = &added->next;
    first_ = added;
}

void OneShotRequests::remove(int seq_id)
{
    for (kv_cb_info *record = first_; record; record = record->next)
        if (record->seq_id == seq_id)
            return destroy(record);
}

int request_once(ReadyCall &call, const OneShotKind &kind, AnyFunction callback, void *user_data,
                 const proxy::Value *values, proxy::Value &delegate_value)
{
    if (!call)
        return call.result();
    Owned record{make_zeroed<kv_cb_info>()};
    if (!call.require_memory(bool(record)).passed())
        return call.result();
    Owned delegate{proxy::create_delegate(kind.delegate_id, kind.trampoline(), true, record.get())};
    if (!call.require(bool(delegate), KORVANE_ERROR_OUT_OF_MEMORY, "rpc_port_kv_master_%s_create() failed"_fmt,
                      proxy::name_of_delegate(kind.delegate_id))
             .passed())
        return call.result();
    const int seq_id = delegate->seq_id;
    record->handle = call.session();
    record->callback = callback;
    record->user_data = user_data;
    record->seq_id = seq_id;
    call.session()->one_shots.add(std::move(record)); // from here on the completing event or the session releases it

    delegate_value.delegate = &delegate;
    if (call.exchange(kind.method, values))
        return KORVANE_ERROR_NONE;
    if (korvane_h session = call.session()) {
        proxy::dispose_delegate(session->proxy, seq_id);
        session->one_shots.remove(seq_id);
    }
    return call.fail();
}

CompletedRequest::CompletedRequest(void *user_data, Caller caller)
    : record_(static_cast<kv_cb_info *>(user_data)), caller_(caller)
{
    log::info(caller_)(">>> called"_fmt);
    if (!record_) {
        log::error(caller_)("kv_cb_info is NULL"_fmt);
        return;
    }
    record_->unlink();
}

} // namespace kv::api
