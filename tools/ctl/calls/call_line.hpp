// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "function.hpp"

#include <optional>
#include <string>
#include <vector>

namespace kv::ctl {

/// An argument that names a value of an earlier call of the line: $2, or $2.1.
struct Reference {
    std::size_t call; // counted from 1
    std::size_t part; // 0 for the first value
};

struct CallArgument {
    Argument argument;
    std::optional<Reference> reference{};
};

/// One call of the line.
struct Call {
    const Function *function;
    std::vector<CallArgument> arguments{};
};

/// The out values of the calls so far.
using Results = std::vector<std::vector<OutValue>>;

/// Parses and checks "FUNCTION ARGUMENT... : FUNCTION ARGUMENT...". Throws UsageError.
std::vector<Call> parse_calls(const std::vector<std::string> &words);

/// The argument, with a reference replaced by the value. Throws Failure if the earlier call did not return it.
Argument resolve(const CallArgument &argument, const Results &results);

} // namespace kv::ctl
