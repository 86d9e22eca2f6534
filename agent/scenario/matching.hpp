// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/journal/json.hpp"

#include <optional>
#include <string>

namespace kv::virtual_agent {

/// In what a value is not as it is wanted, as a sentence; none when it is. An object is as wanted when each member that is
/// wanted is; it may have others. An array has as many items, each as wanted. Instead of a value there may be one condition: {"at_least":N}, {"at_most":N},
/// {"contains":TEXT}, {"not":VALUE}, {"any":true}.
std::optional<std::string> difference(const cJSON *wanted, const cJSON *value, const std::string &name);

/// How many values in it are as they are wanted, to find among several what comes nearest.
int agreement(const cJSON *wanted, const cJSON *value);

/// The part of a value that a path leads to: "setup.networks.0.ssid"; a last "#" counts what is there. NULL for one that leads
/// nowhere; `count` holds what was counted.
const cJSON *find_path(const cJSON *value, const std::string &path, Json &count);

} // namespace kv::virtual_agent
