// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/agent_state.hpp"
#include "common/preamble.hpp"
#include "src/korvane_master_proxy/exchange.hpp"

/// How exported functions begin. The type that a function uses bounds what it may do: a function that does not ask the
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

/// A function that asks the agent.
class AgentCall : public HandleCall {
public:
    AgentCall(korvane_h handle, int minimum_version, Caller caller = Caller::here());

    template <class... Check>
    AgentCall &require(bool holds, Check... code_and_reason)
    {
        Preamble::require(holds, code_and_reason...);
        return *this;
    }
    template <class Argument>
    AgentCall &require_given(Argument *argument, const char *name)
    {
        Preamble::require_given(argument, name);
        return *this;
    }
    AgentCall &require_as_said(bool holds, int code, const char *reason)
    {
        Preamble::require_as_said(holds, code, reason);
        return *this;
    }

    /// Closes the checks: returns whether the agent may be asked. Only functions that do more than invoke() need it.
    bool ready();

    /// Calls a method of the agent, if all checks hold and the agent may be asked, and maps the outcome to a result code.
    /// The application's callbacks may run meanwhile and do anything, deinitialise included; see session().
    template <class Method, class... Values>
    int invoke(Values... values)
    {
        return invoke(master::row_of<Method>, proxy::Arguments<Method>{values...}.values.data());
    }
    int invoke(const master::MethodRow &method, const proxy::Value *values);

    /// The session, or null after an invoke() inside which the application has ended it.
    korvane_h session() const { return session_; }

private:
    int fail(int err, int last_result);
    void schedule_io_error_notice();

    korvane_h session_;
};

} // namespace kv::api
