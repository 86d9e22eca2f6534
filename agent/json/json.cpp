// SPDX-License-Identifier: Apache-2.0
#include "json.hpp"

#include "src/kv_master/json_size.hpp"

#include <glib.h>

#include <algorithm>
#include <new>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

constexpr std::size_t max_excerpt = 200;

std::string valid_utf8(std::string_view text)
{
    std::unique_ptr<char, decltype(&g_free)> valid{g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())),
                                                   g_free};
    return valid.get();
}

std::string excerpt(const std::string &text)
{
    return text.size() > max_excerpt ? text.substr(0, max_excerpt) + "..." : text;
}

/// Returns the limit that the text exceeds, or null.
const char *exceeded_limit(const std::string &text)
{
    const master::JsonSize size = master::json_size(text.c_str());
    if (size.depth > Json::max_depth)
        return "nested more than 64 levels deep";
    return size.values > master::JsonSize::max_values ? "more than 50000 values" : nullptr;
}

} // namespace

Json::Json(cJSON *value) : value_(value)
{
    if (!value_)
        throw std::bad_alloc{};
}

Json::Json(std::string_view text) : Json(cJSON_CreateString(valid_utf8(text).c_str())) {}

Json Json::parse(const std::string &text, const char **end, bool to_the_end)
{
    if (const char *limit = exceeded_limit(text))
        throw JsonTooLarge{"not JSON that can be accepted: " + std::string{limit}};
    const std::size_t zero = text.find('\0');
    const char *stopped = text.c_str() + std::min(zero, text.size());
    cJSON *value = zero == std::string::npos ? cJSON_ParseWithOpts(text.c_str(), &stopped, to_the_end) : nullptr;
    if (!value) // the text may hold a secret, so the message does not repeat it
        throw std::invalid_argument{"not JSON from byte " + std::to_string(stopped - text.c_str() + 1) + " on"};
    if (end)
        *end = stopped;
    return Json{value};
}

Json Json::parse(const std::string &text)
{
    return parse(text, nullptr, true);
}

Json Json::parse_first(const std::string &text, std::size_t &length)
{
    const char *end = nullptr;
    Json value = parse(text, &end, false);
    length = static_cast<std::size_t>(end - text.c_str());
    return value;
}

Json &Json::set(const char *key, Json value)
{
    cJSON_AddItemToObject(value_.get(), key, value.value_.release());
    return *this;
}

Json &Json::append(Json value)
{
    cJSON_AddItemToArray(value_.get(), value.value_.release());
    return *this;
}

Json &Json::add(Json object)
{
    while (cJSON *member = object.value_->child) {
        cJSON_DetachItemViaPointer(object.value_.get(), member);
        const std::string key = member->string;
        cJSON_AddItemToObject(value_.get(), key.c_str(), member);
    }
    return *this;
}

std::string Json::text() const
{
    return text_of(value_.get());
}

std::string text_of(const cJSON *value)
{
    std::unique_ptr<char, decltype(&cJSON_free)> printed{cJSON_PrintUnformatted(value), cJSON_free};
    if (!printed)
        throw std::bad_alloc{};
    return printed.get();
}

std::string excerpt_of(const cJSON *value)
{
    return value ? excerpt(text_of(value)) : "missing";
}

std::string in_words(const Json &object)
{
    std::string words;
    for (const cJSON *member = object.get()->child; member; member = member->next)
        words.append(words.empty() ? "" : ", ").append(member->string).append(" ").append(text_of(member));
    return words;
}

} // namespace kv::virtual_agent
