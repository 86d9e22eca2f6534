// SPDX-License-Identifier: Apache-2.0
#include "json_object.hpp"

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
    cJSON *old = cJSON_GetObjectItem(object, key);
    return replaced(object, old, cJSON_AddNumberToObject(object, key, value));
}

} // namespace kv::api
