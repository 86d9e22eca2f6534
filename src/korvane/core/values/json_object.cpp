// SPDX-License-Identifier: Apache-2.0
#include "json_object.hpp"

#include <charconv>

namespace kv::api {

namespace {

/// Adds the item, which it then owns, and removes an earlier member of the same key.
bool replace(cJSON *object, const char *key, cJSON *item)
{
    cJSON *old = cJSON_GetObjectItem(object, key);
    if (!item)
        return false;
    cJSON_AddItemToObjectCS(object, key, item); // refers to the key instead of copying it, so it cannot fail
    if (old)
        cJSON_Delete(cJSON_DetachItemViaPointer(object, old));
    return true;
}

} // namespace

bool replace_member(cJSON *object, const char *key, const char *value)
{
    return replace(object, key, cJSON_CreateString(value));
}

bool replace_member(cJSON *object, const char *key, int value)
{
    char digits[12];
    *std::to_chars(digits, digits + sizeof digits - 1, value).ptr = '\0';
    return replace(object, key, cJSON_CreateRaw(digits));
}

} // namespace kv::api
