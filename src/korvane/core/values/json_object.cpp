// SPDX-License-Identifier: Apache-2.0
#include "json_object.hpp"

#include <charconv>

namespace kv::api {

namespace {

/// Adds the item, which it then owns, and removes an earlier member of the same key.
bool replace(cJSON *object, const char *key, cJSON *item)
{
    cJSON *old = cJSON_GetObjectItem(object, key);
    // The document keeps the pointer to the key: a copy would be one allocation more for each member.
    if (!item || !cJSON_AddItemToObjectCS(object, key, item)) {
        cJSON_Delete(item);
        return false;
    }
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
