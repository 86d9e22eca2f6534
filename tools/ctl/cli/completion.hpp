// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command_line.hpp"

namespace kv::ctl {

/// Candidates for the last word of a command line. Empty if the shell shall complete file names.
std::vector<std::string> candidates(const CLI::App &app, const Verbs &verbs, const std::vector<std::string> &words);

/// The names of all verbs and of the commands of the running agent.
std::vector<std::string> verb_names(const CLI::App &app);

} // namespace kv::ctl
