// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json.hpp"

/// Filling objects. This much is needed where what a call is, is not known yet; json_members.hpp goes on from here.
namespace kv::api {

/// Puts a member at the end of the object, in place of one of the same key. False, with the object as it was, when
/// there is no memory.
bool replace_member(cJSON *object, const char *key, const char *value);
bool replace_member(cJSON *object, const char *key, int value);

} // namespace kv::api
