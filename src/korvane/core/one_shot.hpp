// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/log.hpp"

#include "src/korvane_master_proxy/delegate.hpp"

#include <korvane.h>

/// Requests whose answer comes later, once.
namespace kv::api {

/// What such a request leaves behind until its answer comes: whom to tell.
struct kv_cb_info {
    korvane_h handle = nullptr;
    proxy::AnyFunction callback = nullptr; // of the type that the request's exported function takes
    void *user_data = nullptr;

    kv_cb_info *next = nullptr;
    kv_cb_info **link = nullptr; // what points to this record on its handle's list

    kv_cb_info() = default;
    kv_cb_info(const kv_cb_info &) = delete;
    kv_cb_info &operator=(const kv_cb_info &) = delete;
    ~kv_cb_info() { unlink(); }

    void unlink();
};

/// The records of one handle. They go with it, uncalled.
class OneShotRecords {
public:
    OneShotRecords() = default;
    OneShotRecords(const OneShotRecords &) = delete;
    OneShotRecords &operator=(const OneShotRecords &) = delete;
    ~OneShotRecords();

    void add(kv_cb_info &record);

private:
    kv_cb_info *first_ = nullptr;
};

/// An answer that has come, for the time of its callback. The record is off its handle's list by then, so it is freed
/// once whatever the callback does.
class Answer {
public:
    explicit Answer(void *kv_cb_info, Caller caller = Caller::here());
    Answer(const Answer &) = delete;
    Answer &operator=(const Answer &) = delete;

    template <class Callback, class... Values>
    void deliver(Values... values)
    {
        if (!record_ || !record_->callback)
            return;
        log::info(caller_)("callback to app"_fmt);
        reinterpret_cast<Callback>(record_->callback)(record_->handle, values..., record_->user_data);
    }

private:
    proxy::Owned<kv_cb_info> record_;
    Caller caller_;
};

} // namespace kv::api
