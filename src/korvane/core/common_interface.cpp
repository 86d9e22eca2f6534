// SPDX-License-Identifier: Apache-2.0
#include "common_interface.hpp"

namespace kv::api {

bool add_command(cJSON *object, Command command)
{
    return cJSON_AddNumberToObject(object, "common_interface", static_cast<double>(command)) != nullptr;
}

int invoke_common_interface(AgentCall &call, const cJSON *object)
{
    JsonText text{cJSON_PrintUnformatted(object)};
    if (!call.require(bool(text), KORVANE_ERROR_OPERATION_FAILED, "input_str is NULL"_fmt).passed())
        return call.result();
    CText reply;
    return call.invoke<master::common_interface>(text.get(), reply.out());
}

} // namespace kv::api
