// SPDX-License-Identifier: Apache-2.0
#include "registration.hpp"

#include <algorithm>
#include <climits>

namespace kv::api {

namespace {

/// Calls `visit` with each delegate of this type on the proxy's list. `visit` may dispose of the delegate.
template <class Visit>
void for_each_delegate(korvane_h session, int id, Visit visit)
{
    rpc_port_proxy_kv_master_h proxy = session->proxy;
    for (GList *node = proxy->delegates; node;) {
        auto *delegate = static_cast<proxy::Delegate *>(node->data);
        node = node->next;
        if (delegate->id == id)
            visit(*static_cast<RegisteredDelegate *>(delegate));
    }
}

/// Returns a new delegate with itself as user data, or null without memory.
RegisteredDelegate *create_registered(int id, AnyFunction trampoline)
{
    auto *delegate = make_zeroed<RegisteredDelegate>();
    proxy::number_delegate(delegate, id, trampoline, false, delegate);
    return delegate;
}

} // namespace

bool Registration::exists() const
{
    bool found = false;
    for (int i = 0; i < row_.count; ++i) {
        found = found || slot_.unsent[i];
        for_each_delegate(session_, row_.delegate_ids[i], [&](RegisteredDelegate &) { found = true; });
    }
    return found;
}

void Registration::dispose()
{
    for (int i = 0; i < row_.count; ++i) {
        slot_.unsent[i].reset();
        for_each_delegate(session_, row_.delegate_ids[i], [&](RegisteredDelegate &delegate) {
            if (delegate.being_set)
                delegate.app_callback = nullptr;
            else
                proxy::dispose_delegate(session_->proxy, &delegate, delegate.id);
        });
    }
}

int Registration::send(ReadyCall &call)
{
    for (int i = 0; i < row_.count; ++i) {
        RegisteredDelegate *delegate = create_registered(row_.delegate_ids[i], row_.trampolines[i]());
        created_[i].reset(delegate);
        if (!delegate)
            continue; // without memory the proxy refuses the call
        delegate->session = session_;
        delegate->app_callback = slot_.callbacks[i];
        delegate->app_data = slot_.user_data;
        delegate->being_set = true;
        seq_ids_[i] = delegate->seq_id;
    }
    const proxy::Value values[] = {&created_[0], &created_[max_callbacks - 1]};
    return call.invoke(*row_.set_method, values);
}

RegisteredDelegate *Registration::sent(int index) const
{
    return static_cast<RegisteredDelegate *>(proxy::find_delegate(session_->proxy, seq_ids_[index]));
}

void Registration::confirm(const AnyFunction *callbacks, void *user_data)
{
    std::copy_n(callbacks, row_.count, slot_.callbacks);
    slot_.user_data = user_data;
    keep();
    for (int i = 0; i < row_.count; ++i) {
        // The callback that was set before is replaced now, also for delegates of nested sets that the agent refused.
        for_each_delegate(session_, row_.delegate_ids[i], [&](RegisteredDelegate &delegate) {
            if (!delegate.confirmed)
                delegate.app_callback = nullptr;
        });
        if (RegisteredDelegate *delegate = sent(i)) {
            delegate->app_callback = callbacks[i];
            delegate->app_data = user_data;
            delegate->confirmed = true;
        }
    }
    redirect_other_generation(seq_ids_[0]);
}

void Registration::keep()
{
    for (int i = 0; i < row_.count; ++i) {
        if (RegisteredDelegate *delegate = sent(i))
            delegate->being_set = false;
        else
            slot_.unsent[i] = std::move(created_[i]);
    }
}

void Registration::withdraw()
{
    for (int i = 0; i < row_.count; ++i)
        proxy::dispose_delegate(session_->proxy, seq_ids_[i]);
}

void Registration::end()
{
    std::fill_n(slot_.callbacks, max_callbacks, nullptr);
    slot_.user_data = nullptr;
    redirect_other_generation(INT_MAX);
    dispose();
}

/// The delegates stay, and their events go to the callback that counts now. Those from `end_seq_id` on were set inside
/// this call and keep their own.
void Registration::redirect_other_generation(int end_seq_id)
{
    for_each_delegate(session_, row_.other_generation, [&](RegisteredDelegate &delegate) {
        if (delegate.seq_id >= end_seq_id)
            return;
        delegate.app_callback = delegate.being_set ? nullptr : slot_.callbacks[0];
        delegate.app_data = slot_.user_data;
    });
}

int set_registration(ReadyCall &call, const RegistrationRow &row, AnyFunction first, AnyFunction second,
                     void *user_data)
{
    Registration registration{call.session(), row};
    if (registration.exists()) {
        log::warning(call.caller())("rpc cb_h already exists"_fmt);
        registration.dispose();
    }
    const int code = registration.send(call);
    if (!call.session())
        return code;
    const AnyFunction callbacks[] = {first, second};
    if (code == KORVANE_ERROR_NONE)
        registration.confirm(callbacks, user_data);
    else if (row.other_generation)
        registration.withdraw();
    else
        registration.keep();
    return code;
}

int unset_registration(ReadyCall &call, const RegistrationRow &row)
{
    Registration registration{call.session(), row};
    if (!registration.exists())
        log::warning(call.caller())("rpc cb_h doesn't exist"_fmt);
    registration.end();
    const int code = call.invoke(*row.unset_method, nullptr);
    // A callback inside the call may have set another one, which this call takes back: it returns last.
    if (call.session())
        registration.end();
    return code;
}

int set_callbacks(Caller caller, const RegistrationRow &row, korvane_h handle, AnyFunction first, AnyFunction second,
                  void *user_data)
{
    AgentCall call{handle, row.minimum_version, caller};
    const bool complete = first && (second || row.count == 1);
    ReadyCall &ready = call.require_as_said(complete, KORVANE_ERROR_INVALID_PARAMETER, row.null_text).ready();
    if (!ready)
        return ready.result();

    if (row.release_event_data)
        row.release_event_data(handle->event_data);
    return set_registration(ready, row, first, second, user_data);
}

int unset_callbacks(Caller caller, const RegistrationRow &row, korvane_h handle)
{
    AgentCall call{handle, row.minimum_version, caller};
    ReadyCall &ready = call.ready();
    if (!ready)
        return ready.result();

    if (row.release_event_data)
        row.release_event_data(handle->event_data);
    return unset_registration(ready, row);
}

const RegisteredDelegate *delegate_of(void *user_data, Caller caller)
{
    if (!user_data)
        log::error(caller)("No user data"_fmt);
    return static_cast<const RegisteredDelegate *>(user_data);
}

} // namespace kv::api
