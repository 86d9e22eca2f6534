// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/log_line.hpp"

namespace kv::proxy {

/// Before and After stand around the function's name: what a family of functions has in common is stored once.
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

/// What the functions of a family log, as callers that are named without what they have in common.
template <FixedText Before, FixedText After = "">
using LogOf = Logger<ProxySource<Before, After>>;

} // namespace kv::proxy
