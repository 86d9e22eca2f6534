// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/agent_state.hpp"
#include "common/preamble.hpp"
#include "src/korvane_master_proxy/exchange.hpp"

/// The beginning of exported functions. The type that a function uses bounds what it may do: a function that does not ask the
/// agent has no update gate and nothing to call a method with.
namespace kv::api {

/// A function over an object of the application: a list, a record, data of an event.
class LocalCall : public Preamble {
public:
    LocalCall(const void *handle, int minimum_version, Caller caller = Caller::here());
};

/// A function over the library's handle that does not ask the agent.
class HandleCall : public Preamble {
public:
    HandleCall(korvane_h handle, int minimum_version, Caller caller = Caller::here());
};

/// A call whose checks have passed: the only thing that can ask the agent.
class ReadyCall : public HandleCall {
public:
    /// Whether the agent may be asked. If not, invoke() does nothing and result() is the reason.
    explicit operator bool() const { return passed(); }

    /// Calls a method of the agent and maps the outcome to a result code. The application's callbacks may run meanwhile
    /// and do anything, deinitialise included; see session().
    template <class Method, class... Values>
    int invoke(Values... values)
    {
        return invoke(master::row_of<Method>, proxy::Arguments<Method>{values...}.values.data());
    }
    int invoke(const master::MethodRow &method, const proxy::Value *values);

    /// The two halves of invoke(), for a request whose failure is undone before it is reported: exchange() returns false if
    /// the call failed, and fail() then logs that and maps it to a result code.
    bool exchange(const master::MethodRow &method, const proxy::Value *values);
    int fail();

    /// The session, or null after an invoke() inside which the application has ended it.
    korvane_h session() const { return session_; }

private:
    friend class AgentCall;
    ReadyCall(korvane_h handle, int minimum_version, Caller caller);

    void schedule_io_error_notice();

    korvane_h session_;
    int err_ = 0;         // of a failed exchange: the agent's result
    int last_result_ = 0; // and the platform's
};

/// A function that asks the agent: its checks, which end with ready().
class AgentCall {
public:
    AgentCall(korvane_h handle, int minimum_version, Caller caller = Caller::here())
        : call_(handle, minimum_version, caller)
    {
    }

    template <class... Check>
    AgentCall &require(bool holds, Check... code_and_reason)
    {
        call_.require(holds, code_and_reason...);
        return *this;
    }
    template <class Argument>
    AgentCall &require_given(Argument *argument, const char *name)
    {
        call_.require_given(argument, name);
        return *this;
    }
    AgentCall &require_as_said(bool holds, int code, const char *reason)
    {
        call_.require_as_said(holds, code, reason);
        return *this;
    }
    operator Preamble &() { return call_; }

    /// Closes the checks with the last one: the agent is not being installed.
    ReadyCall &ready();

private:
    ReadyCall call_;
};

} // namespace kv::api
