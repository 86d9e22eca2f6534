// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json.hpp"

/// Filling JSON objects.
namespace kv::api {

/// Adds a member at the end of the object and removes an earlier one of the same key. The key must live as long as the
/// object, as the keys of the description do. Returns false, with the object unchanged, without memory.
bool replace_member(cJSON *object, const char *key, const char *value);

/// Stores the number as its digits, which can be printed but not read. cJSON would print a number as floating point and
/// parse the result again, which was more than half of the instructions for a list of access points.
bool replace_member(cJSON *object, const char *key, int value);

} // namespace kv::api
