// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/control/commands/commands.hpp"
#include "positions.hpp"

#include <string>
#include <vector>

/// Checks of a scenario before it is played: names that do not exist would only fail in the middle of it.
namespace kv::virtual_agent {

/// A command in a step. `step` is the JSON object of the step, `arguments` those of the command. Throws Mistake.
void check_command(const Command &command, const cJSON *step, const cJSON *arguments);

/// The paths of an expected state, which must exist in the state of some agent. Throws Mistake.
void check_paths(const cJSON *expected);

/// A state in which every optional part is present. Its paths are all that any state has: an empty object or list, and null,
/// may have members of any name.
const Json &complete_state();

/// The names of the expected arguments and reply of a method. Throws Mistake.
void check_call(const std::string &method, const cJSON *arguments, const cJSON *answer);

/// Refuses texts that `korvanectl record` left to be filled in. Throws Mistake.
void check_placeholders(const cJSON *value);

/// The members of which a step has one, in words.
std::string step_kinds();

/// Throws Mistake for a step without a known kind; the message names the most similar one.
[[noreturn]] void refuse_unknown_step(const cJSON *step, const std::vector<std::string> &kinds);

} // namespace kv::virtual_agent
