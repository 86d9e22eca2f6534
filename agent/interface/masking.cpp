// SPDX-License-Identifier: Apache-2.0
#include "masking.hpp"

#include "src/kv_master/documents.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace kv::virtual_agent {

namespace {

constexpr std::size_t max_shown_document = 4096; // bytes of text; a longer document is masked as a whole

const master::Member *find_member(const master::Document &document, std::string_view key)
{
    const master::Member *end = document.members + document.count;
    const master::Member *found =
        std::find_if(document.members, end, [key](const master::Member &member) { return member.key == key; });
    return found != end ? found : nullptr;
}

/// A member is shown if the description of the interface knows it, and as no secret in any document.
bool may_be_shown(std::string_view key)
{
    bool known = false;
    bool secret = false;
    const auto look_at = [&](const master::Document &document) {
        if (const master::Member *member = find_member(document, key)) {
            known = true;
            secret = secret || member->secret;
        }
    };
    for (const master::Document *document : master::documents::all)
        look_at(*document);
    for (const master::Command *command : master::commands::all)
        look_at(*command);
    return known && !secret;
}

/// The length of a text does not include its quotes.
Json masked(const cJSON *value)
{
    return show_masked(cJSON_IsString(value) ? value->valuestring : text_of(value).c_str());
}

/// Objects inside an array are shown member by member as well.
Json shown(const cJSON *value)
{
    if (cJSON_IsObject(value)) {
        Json members = Json::object();
        for (const cJSON *member = value->child; member; member = member->next)
            members.set(member->string, may_be_shown(member->string) ? shown(member) : masked(member));
        return members;
    }
    if (cJSON_IsArray(value)) {
        Json items = Json::array();
        for (const cJSON *item = value->child; item; item = item->next)
            items.append(shown(item));
        return items;
    }
    if (cJSON_IsString(value))
        return value->valuestring;
    return Json::copy_of(value);
}

} // namespace

Json show_masked(const char *text)
{
    return "<secret, " + std::to_string(text ? std::strlen(text) : 0) + " bytes>";
}

Json show_document(const char *text)
{
    if (!text || std::strlen(text) > max_shown_document)
        return show_masked(text);
    try {
        const Json document = Json::parse(text);
        return cJSON_IsObject(document.get()) ? shown(document.get()) : show_masked(text);
    } catch (const std::invalid_argument &) {
        return show_masked(text);
    }
}

} // namespace kv::virtual_agent
