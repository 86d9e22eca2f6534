// SPDX-License-Identifier: Apache-2.0
#include "kind.hpp"

namespace kv::virtual_agent {

std::string kind_of(const cJSON *value)
{
    if (!value)
        return "missing";
    if (cJSON_IsBool(value) || cJSON_IsNull(value))
        return text_of(value);
    if (cJSON_IsNumber(value))
        return "a number";
    return cJSON_IsString(value) ? "a text" : cJSON_IsArray(value) ? "an array" : "an object";
}

std::string number_or_kind_of(const cJSON *value)
{
    return cJSON_IsNumber(value) ? text_of(value) : kind_of(value);
}

} // namespace kv::virtual_agent
