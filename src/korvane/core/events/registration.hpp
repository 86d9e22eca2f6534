// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/korvane/core/session/agent_call.hpp"
#include "src/korvane/core/session/session.hpp"
#include "trampoline.hpp"

#include <cstdint>

/// The functions korvane_set_..._cb and korvane_unset_..._cb.
///
/// A set function sends the agent a delegate that carries the application's callback. The callback counts once the set
/// function succeeds; until then, and after a failure, the delegate's events still reach the callback that was set
/// before. The application may set and unset the same kind of event from a callback that runs inside another set or
/// unset of it: the delegates of calls that have not returned are left alone, and the call that returns last decides.
namespace kv::api {

/// Releases what the session keeps of the last event of a kind.
using ReleaseEventData = void (*)(EventData &data);

/// A kind of registration as data: what it does not share with the others.
struct RegistrationRow {
    const char *null_text; // logged if a callback is missing
    const master::MethodRow *set_method;
    const master::MethodRow *unset_method;
    ReleaseEventData release_event_data; // null if the session keeps nothing of such events
    TrampolineOf trampolines[max_callbacks];
    std::uint8_t delegate_ids[max_callbacks];
    std::uint8_t count; // of delegates, each with one callback of the application
    std::uint8_t slot;  // the position of the event's slot in the session
    std::int16_t minimum_version;
    /// The delegate of another generation of the same event, which may be left from before an update of the agent; 0 if
    /// there is one generation. Such a registration keeps no delegate that the agent refused.
    std::uint8_t other_generation;

    EventSlot &slot_in(korvane_h session) const { return session->event_slots[slot]; }
};

/// The steps of a set or unset function: what it does with the delegates of one kind.
class Registration {
public:
    Registration(korvane_h session, const RegistrationRow &row) : session_(session), row_(row) {}

    /// Whether a delegate was created since the last unset, be it that the agent never received it.
    bool exists() const;
    /// Disposes of all delegates, except that those of set functions that have not returned only lose the callback that
    /// was set before them.
    void dispose();
    /// Creates new delegates and calls the set method with them. Afterwards call.session() is null if the session has ended.
    int send(ReadyCall &call);
    /// Ends a successful set: the new delegates' events go to these callbacks from now on.
    void confirm(const AnyFunction *callbacks, void *user_data);
    /// Ends a failed set: the new delegates stay, and their events go to the callback that was set before.
    void keep();
    /// Ends a failed set: the new delegates are disposed of.
    void withdraw();
    /// Makes events of this kind go to no callback, and disposes of the delegates as dispose() does.
    void end();

private:
    RegisteredDelegate *sent(int index) const;
    void redirect_other_generation(int end_seq_id);

    korvane_h session_;
    const RegistrationRow &row_;
    EventSlot &slot_ = row_.slot_in(session_);
    Owned<proxy::Delegate> created_[max_callbacks];
    int seq_ids_[max_callbacks]{};
};

/// A set function. `second` is null for an event with one callback.
int set_callbacks(Caller caller, const RegistrationRow &row, korvane_h handle, AnyFunction first, AnyFunction second,
                  void *user_data);
int unset_callbacks(Caller caller, const RegistrationRow &row, korvane_h handle);

/// The same after the checks, for a call that is ready.
int set_registration(ReadyCall &call, const RegistrationRow &row, AnyFunction first, AnyFunction second,
                     void *user_data);
int unset_registration(ReadyCall &call, const RegistrationRow &row);

/// Returns the delegate behind a trampoline's user data, or null with a log line if there is none.
const RegisteredDelegate *delegate_of(void *user_data, Caller caller = Caller::here());

/// Calls the application's callback of the delegate that `user_data` points to. The callback may unset itself or
/// deinitialise, so nothing is used after it.
template <class AppCallback, class... Values>
[[gnu::noinline]] void deliver(void *user_data, Caller caller, Values... values)
{
    const RegisteredDelegate *delegate = delegate_of(user_data, caller);
    if (delegate && delegate->app_callback)
        reinterpret_cast<AppCallback>(delegate->app_callback)(delegate->session, values..., delegate->app_data);
}

} // namespace kv::api
