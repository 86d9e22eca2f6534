// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/agent_state.hpp"
#include "common/preamble.hpp"

#include "handle.hpp"
#include "src/korvane_master_proxy/invoke.hpp"

/// How exported functions begin. Which type a function uses says what it may do: one that does not ask the agent has no
/// update gate and nothing to invoke with.
namespace kv::api {

/// A function over an object of the application's: a list, a record, data of an event.
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

    /// After the function's own checks: whether the agent may be asked. Only functions that do more than invoke then ask.
    bool ready();

    /// Calls a method of the agent, if all checks hold and the agent may be asked, and maps what became of it to a result
    /// code.
    template <class Method, class... Values>
    int invoke(Values... values)
    {
        return invoke(proxy::text_of_method<Method>.text, proxy::Arguments<Method>{values...}.values.data());
    }
    int invoke(const char *method_text, const proxy::Value *values);

    korvane_h handle() const { return handle_; }

private:
    int fail(int err, int last_result);
    void schedule_io_error_notice();

    korvane_h handle_;
};

} // namespace kv::api
