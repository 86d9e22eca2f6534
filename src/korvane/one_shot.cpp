// SPDX-License-Identifier: Apache-2.0
#include "one_shot.hpp"

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
