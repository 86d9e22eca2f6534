// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/log_line.hpp"

namespace kv::proxy {

/// Hands a line to the platform. Never inlined: one copy serves every line with arguments of the same types.
template <class... Args>
[[gnu::noinline]] void print_line(int priority, const char *format, Caller caller, Args... args)
{
    dlog_print(priority, "RPC_PORT_PROXY", format, "korvane_master_proxy.cpp", caller.function, caller.line, args...);
}

struct ProxySource {
    template <FixedText Message, class... Args>
    static void print(int priority, Caller caller, Args... args)
    {
        static constexpr auto format = concat<"%s: %s(%d) > ", Message>;
        print_line(priority, format.text, caller, args...);
    }
};

using log = Logger<ProxySource>;

} // namespace kv::proxy
