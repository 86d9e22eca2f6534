// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json.hpp"

#include <optional>
#include <string>

namespace kv::virtual_agent {

/// Describes how `value` differs from `wanted`; nothing if it matches. `name` is the name of the value in the text.
///
/// An object matches if each member of `wanted` matches; it may have other members. An array matches if it has as many
/// items and each item matches. In place of a value, `wanted` may have one condition: {"at_least":N}, {"at_most":N},
/// {"contains":TEXT}, {"not":VALUE}, {"any":true}. The time is linear in the size of both values.
std::optional<std::string> difference(const cJSON *wanted, const cJSON *value, const std::string &name);

/// Counts the values in `value` that match `wanted`, to find the nearest of several candidates.
int agreement(const cJSON *wanted, const cJSON *value);

/// The part of a value at a path such as "setup.networks.0.ssid"; null if there is none. A "#" as the last part counts
/// items or members; `count` then holds the number.
const cJSON *find_path(const cJSON *value, const std::string &path, Json &count);

} // namespace kv::virtual_agent
