// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "log.hpp"

#include <korvane.h>

namespace kv {

/// The beginning of an exported function: entry line, gates and argument checks, in the order in which they are written
/// down. The first that fails logs its reason and decides the result; nothing after it logs or decides anything.
class Preamble {
public:
    explicit Preamble(Caller caller);

    Preamble(const Preamble &) = delete;
    Preamble &operator=(const Preamble &) = delete;

    /// The agent is installed and at least of this version (see since()).
    Preamble &agent_present(int minimum_version);

    Preamble &require_handle(const void *handle);

    /// The condition is computed even when an earlier check has failed, so it must only compare.
    template <FixedText Message, class... Args>
    Preamble &require(bool holds, Format<Message> reason, Args... args)
    {
        return require(holds, KORVANE_ERROR_INVALID_PARAMETER, reason, args...);
    }

    template <FixedText Message, class... Args>
    Preamble &require(bool holds, int code, Format<Message> reason, Args... args)
    {
        if constexpr (sizeof...(Args) == 0)
            return require_as_said(holds, code, concat<Message>.text);
        if (!holds && passed()) [[unlikely]] {
            result_ = code;
            api::log::error(caller_)(reason, args...);
        }
        return *this;
    }

    /// The same with a reason that is taken as it is.
    Preamble &require_as_said(bool holds, int code, const char *reason);

    /// An argument that must not be NULL, by the name that the log gives it.
    Preamble &require_given(const void *argument, const char *name);
    template <class Result, class... Args>
    Preamble &require_given(Result (*callback)(Args...), const char *name)
    {
        return require_given(reinterpret_cast<const void *>(callback), name);
    }

    /// What was to be allocated has been.
    Preamble &require_memory(bool allocated);

    /// The agent is not being replaced at the moment.
    Preamble &agent_not_installing();

    bool passed() const { return result_ == KORVANE_ERROR_NONE; }
    int result() const { return result_; }
    Caller caller() const { return caller_; }

protected:
    Caller caller_;
    int result_ = KORVANE_ERROR_NONE;
};

} // namespace kv
