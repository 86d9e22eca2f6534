// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "log.hpp"

#include <korvane.h>

namespace kv {

/// The beginning of an exported function: entry line, gates and argument checks, in the order of the calls. The first that
/// fails logs its reason and decides the result; later ones do nothing.
class Preamble {
public:
    explicit Preamble(Caller caller);

    Preamble(const Preamble &) = delete;
    Preamble &operator=(const Preamble &) = delete;

    /// Requires an installed agent of at least this version (see since()). The first check of every function.
    Preamble &agent_present(int minimum_version);

    Preamble &require_handle(const void *handle);

    /// The caller evaluates the condition even if an earlier check has failed, so it must only compare.
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

    /// The same with a reason without conversions.
    Preamble &require_as_said(bool holds, int code, const char *reason);

    /// Requires an argument that is not NULL. `name` is for the log.
    Preamble &require_given(const void *argument, const char *name);
    template <class Result, class... Args>
    Preamble &require_given(Result (*callback)(Args...), const char *name)
    {
        return require_given(reinterpret_cast<const void *>(callback), name);
    }

    /// Requires an allocation to have succeeded.
    Preamble &require_memory(bool allocated);

    /// Requires that the agent is not being installed at the moment.
    Preamble &agent_not_installing();

    bool passed() const { return result_ == KORVANE_ERROR_NONE; }
    int result() const { return result_; }
    Caller caller() const { return caller_; }

protected:
    Caller caller_;
    int result_ = KORVANE_ERROR_NONE;
};

} // namespace kv
