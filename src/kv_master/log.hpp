// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/log_line.hpp"

namespace kv::master {

/// Before and After surround the function's name, so that the common part of a family of names is stored once.
template <FixedText Before, FixedText After>
struct ProxySource {
    static constexpr const char *tag = "RPC_PORT_PROXY";

    template <FixedText Message>
    static constexpr const char *format()
    {
        return concat<"korvane_master_proxy.cpp: ", Before, "%s", After, "(%d) > ", Message>.text;
    }

    /// Never inlined: one copy serves all plain messages.
    [[gnu::noinline]] static void print(int priority, Caller caller, const char *message)
    {
        dlog_print(priority, tag, format<"%s">(), caller.function, caller.line, message);
    }
};

using log = Logger<ProxySource<"", "">>;

/// Logs for a family of functions. Callers are named without the common part.
template <FixedText Before, FixedText After = "">
using LogOf = Logger<ProxySource<Before, After>>;

} // namespace kv::master
