// SPDX-License-Identifier: Apache-2.0
#include "json_members.hpp"

namespace kv::api {

int hand_out(Preamble &call, const cJSON *member, char **out)
{
    if (!call.require(cJSON_IsString(member), KORVANE_ERROR_OPERATION_FAILED, "cJSON_GetObjectItem() failed"_fmt)
             .passed())
        return call.result();
    CText copy = CText::copy(member->valuestring);
    if (call.require(bool(copy), KORVANE_ERROR_OUT_OF_MEMORY, "Memory allocation is failed"_fmt).passed())
        *out = copy.release();
    return call.result();
}

int hand_out(Preamble &call, const cJSON *member, int *out)
{
    // valueint is the number within the range of an int: what is beyond ends at its limits.
    if (call.require(cJSON_IsNumber(member), KORVANE_ERROR_OPERATION_FAILED, "cJSON_GetObjectItem() failed"_fmt)
            .passed())
        *out = member->valueint;
    return call.result();
}

} // namespace kv::api
