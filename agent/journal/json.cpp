// SPDX-License-Identifier: Apache-2.0
#include "json.hpp"

#include <glib.h>

#include <new>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

std::string valid_utf8(std::string_view text)
{
    std::unique_ptr<char, decltype(&g_free)> valid{g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())),
                                                   g_free};
    return valid.get();
}

} // namespace

Json::Json(cJSON *value) : value_(value)
{
    if (!value_)
        throw std::bad_alloc{};
}

Json::Json(std::string_view text) : Json(cJSON_CreateString(valid_utf8(text).c_str())) {}

Json Json::parse(const std::string &text)
{
    constexpr std::size_t longest_shown = 200;
    cJSON *value = text.find('\0') == std::string::npos ? cJSON_ParseWithOpts(text.c_str(), nullptr, true) : nullptr;
    if (!value)
        throw std::invalid_argument{"not JSON: " + text.substr(0, longest_shown) +
                                    (text.size() > longest_shown ? "..." : "")};
    return Json{value};
}

std::size_t Json::length_of_first(const std::string &text)
{
    const char *end = nullptr;
    const std::unique_ptr<cJSON, Delete> value{cJSON_ParseWithOpts(text.c_str(), &end, false)};
    return value ? static_cast<std::size_t>(end - text.c_str()) : 0;
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

} // namespace kv::virtual_agent
