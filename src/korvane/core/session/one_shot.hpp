// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/owned.hpp"
#include "src/korvane_master_proxy/delegate.hpp"

#include <korvane.h>

/// One-shot requests that wait for the event that completes them.
namespace kv::api {

/// A pending one-shot request and its callback. Its delegate carries it as user data; both end together.
struct kv_cb_info {
    korvane_h handle = nullptr;
    proxy::AnyFunction callback = nullptr; // of the type that the request's exported function takes
    void *user_data = nullptr;
    int seq_id = 0; // of the delegate: identifies the request

    kv_cb_info *next = nullptr;
    kv_cb_info **link = nullptr; // the pointer to this record in the session's list

    kv_cb_info() = default;
    kv_cb_info(const kv_cb_info &) = delete;
    kv_cb_info &operator=(const kv_cb_info &) = delete;
    ~kv_cb_info() { unlink(); }

    void unlink();
};

/// The pending one-shot requests of a session. They are released with it, without a call of their callbacks.
class OneShotRequests {
public:
    OneShotRequests() = default;
    OneShotRequests(const OneShotRequests &) = delete;
    OneShotRequests &operator=(const OneShotRequests &) = delete;
    ~OneShotRequests();

    void add(Owned<kv_cb_info> record);
    /// Releases the request of this delegate. Does nothing if its event has completed it.
    void remove(int seq_id);

private:
    kv_cb_info *first_ = nullptr;
};

} // namespace kv::api
