// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "verb.hpp"

#include <string>
#include <vector>

namespace kv::ctl {

using Verbs = std::vector<const Verb *>;

/// Parses the words of a command line and runs its verb. Returns the exit status; throws Failure.
int run_command_line(const Verbs &verbs, std::vector<std::string> words);

} // namespace kv::ctl
