// SPDX-License-Identifier: Apache-2.0
#include "json_object.hpp"

#include <charconv>

namespace kv::api {

namespace {

/// Removes the old member if the new one was added.
bool replaced(cJSON *object, cJSON *old, const cJSON *added)
{
    if (added && old)
        cJSON_Delete(cJSON_DetachItemViaPointer(object, old));
    return added != nullptr;
}

} // namespace

bool replace_member(cJSON *object, const char *key, const char *value)
{
    cJSON *old = cJSON_GetObjectItem(object, key);
    return replaced(object, old, cJSON_AddStringToObject(object, key, value));
}

bool replace_member(cJSON *object, const char *key, int value)
{
    char digits[12];
    *std::to_chars(digits, digits + sizeof digits - 1, value).ptr = '\0';
    cJSON *old = cJSON_GetObjectItem(object, key);
    return replaced(object, old, cJSON_AddRawToObject(object, key, digits));
}

} // namespace kv::api
