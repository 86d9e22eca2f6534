// SPDX-License-Identifier: Apache-2.0
#include "preamble.hpp"

#include "agent_state.hpp"

namespace kv {

Preamble::Preamble(Caller caller) : caller_(caller)
{
    api::log::info(caller_)(">>> called"_fmt);
}

Preamble &Preamble::require_handle(const void *handle)
{
    return require_given(handle, "handle");
}

Preamble &Preamble::require_given(const void *argument, const char *name)
{
    return require(argument != nullptr, "%s is NULL"_fmt, name);
}

Preamble &Preamble::require_memory(bool allocated)
{
    return require(allocated, KORVANE_ERROR_OUT_OF_MEMORY, "Memory allocation is failed"_fmt);
}

Preamble &Preamble::require_as_said(bool holds, int code, const char *reason)
{
    if (!holds && passed()) [[unlikely]] {
        result_ = code;
        api::log::error(caller_).text(reason);
    }
    return *this;
}

Preamble &Preamble::agent_present(int minimum_version)
{
    if (agent.support == AgentState::unknown)
        agent.determine_support();
    if (!require(agent.support != AgentState::absent, KORVANE_ERROR_NOT_SUPPORTED, "Not Supported"_fmt).passed())
        return *this;

    // A version that cannot be read counts as 0: it passes functions that every agent knows, and no others.
    return require(agent.current_version() >= minimum_version, KORVANE_ERROR_AGENT_VERSION_LOWER,
                   "agent version is lower!!"_fmt);
}

Preamble &Preamble::agent_not_installing()
{
    return require(agent.update != AgentState::installing, KORVANE_ERROR_SERVICE_UNAVAILABLE,
                   "Agent is being installing"_fmt);
}

} // namespace kv
