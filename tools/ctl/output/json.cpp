// SPDX-License-Identifier: Apache-2.0
#include "json.hpp"

#include "failure.hpp"

#include <cmath>

namespace kv::ctl {

namespace {

constexpr double max_exact_integer = 9007199254740992; // 2 to the power of 53

} // namespace

Json number_of(double value)
{
    if (std::trunc(value) == value && std::abs(value) <= max_exact_integer)
        return static_cast<std::int64_t>(value);
    return value;
}

Json parsed(std::string_view text)
{
    bool too_deep = false;
    const auto look_at = [&too_deep](int depth, Json::parse_event_t event, Json &value) {
        if (event == Json::parse_event_t::value && value.is_number_float())
            value = number_of(value);
        too_deep = too_deep || depth > max_json_depth;
        return !too_deep;
    };
    Json value = Json::parse(text, look_at, false);
    return too_deep ? Json(Json::value_t::discarded) : value;
}

Json parsed_argument(std::string_view text, const std::string &what)
{
    Json value = parsed(text);
    if (value.is_discarded())
        throw UsageError{what + " must be JSON, not '" + std::string{text} + "'"};
    return value;
}

std::string text_of(const Json &value)
{
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string indented_text_of(const Json &value)
{
    return value.dump(2, ' ', false, Json::error_handler_t::replace);
}

const Json &member_of(const Json &object, const char *name)
{
    static const Json missing;
    if (!object.is_object())
        return missing;
    const auto found = object.find(name);
    return found == object.end() ? missing : *found;
}

std::string text_in(const Json &object, const char *name)
{
    const Json &member = member_of(object, name);
    if (member.is_string())
        return member.get<std::string>();
    return member.is_null() ? "" : text_of(member);
}

std::vector<std::string> texts_in(const Json &array)
{
    std::vector<std::string> texts;
    if (array.is_array())
        for (const Json &item : array)
            if (item.is_string())
                texts.push_back(item);
    return texts;
}

long long number_in(const Json &object, const char *name, long long fallback)
{
    const Json &member = member_of(object, name);
    return member.is_number_integer() ? member.get<long long>() : fallback;
}

bool flag_in(const Json &object, const char *name, bool fallback)
{
    const Json &member = member_of(object, name);
    return member.is_boolean() ? member.get<bool>() : fallback;
}

} // namespace kv::ctl
