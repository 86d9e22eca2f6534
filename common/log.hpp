// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/log_line.hpp"

namespace kv {

/// The version of the exported interface; it stands in every log line and is told to the agent.
struct ApiVersion {
    static constexpr int major = 2;
    static constexpr int minor = 3;
    static constexpr int patch = 3;
};

/// Hands a line to the platform. Never inlined: one copy serves every line with arguments of the same types.
template <class... Args>
[[gnu::noinline]] void print_api_line(int priority, const char *format, const char *file, Caller caller, Args... args)
{
    dlog_print(priority, "KORVANE-API", format, file, caller.function, caller.line, ApiVersion::major,
               ApiVersion::minor, ApiVersion::patch, args...);
}

/// A line under the application-facing tag. The file is the layer's, whichever file of it logs: people filter by it.
template <FixedText File>
struct TaggedSource {
    template <FixedText Message, class... Args>
    static void print(int priority, Caller caller, Args... args)
    {
        static constexpr auto format = concat<"%s : %s(%d) >[%d.%d.%d] ", Message, "\n">;
        static constexpr auto file = File;
        print_api_line(priority, format.text, file.text, caller, args...);
    }
};

/// What exported functions, their trampolines and the gates in front of them log.
namespace api {
using log = Logger<TaggedSource<"korvane.cpp">>;
}

/// What the runtime logs on its own account.
namespace common {
using log = Logger<TaggedSource<"korvane_common.cpp">>;
}

} // namespace kv
