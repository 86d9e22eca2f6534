// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "log_line.hpp"

namespace kv {

/// The version of the exported interface. Every log line contains it, and the agent receives it.
struct ApiVersion {
    static constexpr int major = 2;
    static constexpr int minor = 3;
    static constexpr int patch = 3;
    static constexpr FixedText text{"2.3.3"};
};

static_assert(ApiVersion::text.text[0] == '0' + ApiVersion::major &&
              ApiVersion::text.text[2] == '0' + ApiVersion::minor &&
              ApiVersion::text.text[4] == '0' + ApiVersion::patch && ApiVersion::text.length() == 5);

/// A line under the tag that applications see. File names the layer, whichever of its files logs: people filter by it.
template <FixedText File>
struct TaggedSource {
    static constexpr const char *tag = "KORVANE-API";

    template <FixedText Message>
    static constexpr const char *format()
    {
        return concat<File, " : %s(%d) >[", ApiVersion::text, "] ", Message, "\n">.text;
    }

    /// Never inlined: one copy serves all plain messages.
    [[gnu::noinline]] static void print(int priority, Caller caller, const char *message)
    {
        dlog_print(priority, tag, format<"%s">(), caller.function, caller.line, message);
    }
};

/// For exported functions, their gates and trampolines.
namespace api {
using log = Logger<TaggedSource<"korvane.cpp">>;
}

/// For the runtime itself.
namespace common {
using log = Logger<TaggedSource<"korvane_common.cpp">>;
}

} // namespace kv
