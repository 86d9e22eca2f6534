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
    cJSON *value = cJSON_ParseWithOpts(text.c_str(), nullptr, true);
    if (!value)
        throw std::invalid_argument{"not JSON: " + text};
    return Json{value};
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
