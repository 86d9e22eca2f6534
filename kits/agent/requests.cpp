// SPDX-License-Identifier: Apache-2.0
#include "requests.hpp"

#include <cjson/cJSON.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace kv::agent_kit {

using namespace master;

namespace {

using Json = std::unique_ptr<cJSON, decltype(&cJSON_Delete)>;

Json object_of(const Document &document);

cJSON *sample_of(const Member &member)
{
    switch (member.type) {
    case JsonType::number: return cJSON_CreateNumber(0);
    case JsonType::boolean: return cJSON_CreateFalse();
    case JsonType::object: return cJSON_CreateObject();
    case JsonType::array: {
        cJSON *array = cJSON_CreateArray();
        cJSON_AddItemToArray(array, member.items ? object_of(*member.items).release() : cJSON_CreateNumber(0));
        return array;
    }
    default: return cJSON_CreateString("kit");
    }
}

Json object_of(const Document &document)
{
    Json object{cJSON_CreateObject(), cJSON_Delete};
    for (const Member *member = document.members; member != document.members + document.count; ++member)
        if (member->since <= options.version)
            cJSON_AddItemToObject(object.get(), member->key, sample_of(*member));
    return object;
}

} // namespace

std::string sample_document(const Document &document)
{
    const Json object = object_of(document);
    // A command is a document that contains its number.
    const auto *const *command = std::find(std::begin(commands::all), std::end(commands::all), &document);
    if (command != std::end(commands::all))
        cJSON_ReplaceItemInObjectCaseSensitive(object.get(), commands::number.key,
                                               cJSON_CreateNumber((*command)->number));
    const std::unique_ptr<char, decltype(&cJSON_free)> text{cJSON_PrintUnformatted(object.get()), cJSON_free};
    return text.get();
}

bool read_reply_kind(const Parcel &reply)
{
    int kind = -1;
    if (IntWire::read(reply.get(), kind) && kind == Kind::result)
        return true;
    g_test_fail_printf("the parcel on the main port has the kind %d and is no reply", kind);
    return false;
}

std::optional<int> read_result(const Parcel &reply, Expected expected)
{
    int result = 0;
    if (!IntWire::read(reply.get(), result)) {
        g_test_fail_printf("the reply ends before its result");
        return {};
    }
    if (!is_at_end(reply)) {
        g_test_fail_printf("bytes follow the result of the reply");
        return {};
    }
    if ((expected == Expected::success && result != 0) || (expected == Expected::refusal && result != -1))
        g_test_fail_printf("the result is %d instead of %d", result, expected == Expected::success ? 0 : -1);
    return result;
}

} // namespace kv::agent_kit
