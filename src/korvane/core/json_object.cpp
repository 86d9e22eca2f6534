// SPDX-License-Identifier: Apache-2.0
#include "json_object.hpp"

namespace kv::api {

namespace {

/// The new member is added before the old one goes, so that without memory the old one stays.
bool take_place(cJSON *object, cJSON *old, const cJSON *added)
{
    if (added && old)
        cJSON_Delete(cJSON_DetachItemViaPointer(object, old));
    return added != nullptr;
}

} // namespace

bool replace_member(cJSON *object, const char *key, const char *value)
{
    cJSON *old = cJSON_GetObjectItem(object, key);
    return take_place(object, old, cJSON_AddStringToObject(object, key, value));
}

bool replace_member(cJSON *object, const char *key, int value)
{
    cJSON *old = cJSON_GetObjectItem(object, key);
    return take_place(object, old, cJSON_AddNumberToObject(object, key, value));
}

} // namespace kv::api
