// SPDX-License-Identifier: Apache-2.0
#include "command_document.hpp"

namespace kv::api {

bool add_command(cJSON *object, int command_number)
{
    return cJSON_AddNumberToObject(object, master::commands::number.key, command_number) != nullptr;
}

Json create_command(ReadyCall &call, int command_number)
{
    Json document{cJSON_CreateObject()};
    if (call.require(bool(document), KORVANE_ERROR_OUT_OF_MEMORY, "cJSON_CreateObject() failed"_fmt).passed())
        call.require_memory(add_command(document.get(), command_number));
    return document;
}

int invoke_command(ReadyCall &call, const cJSON *object, bool whole)
{
    if (!call.passed())
        return call.result();
    const JsonText text{cJSON_PrintUnformatted(object)};
    if (!call.require(bool(text), KORVANE_ERROR_OPERATION_FAILED, "input_str is NULL"_fmt)
             .require_memory(whole)
             .passed())
        return call.result();
    CText reply;
    return call.invoke<master::common_interface>(text.get(), reply.out());
}

} // namespace kv::api
