// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cjson/cJSON.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kv::virtual_agent {

/// A JSON text exceeds the limits of what the agent parses.
struct JsonTooLarge : std::invalid_argument {
    using invalid_argument::invalid_argument;
};

/// One JSON value. Text from another process is made valid UTF-8 on the way in, so that printed JSON can be parsed.
class Json {
public:
    static constexpr int max_depth = 64;

    Json() : Json(cJSON_CreateNull()) {}
    Json(bool value) : Json(cJSON_CreateBool(value)) {}
    Json(int value) : Json(cJSON_CreateNumber(value)) {}
    Json(double value) : Json(cJSON_CreateNumber(value)) {}
    /// Printed with all digits; cJSON would keep the number as a double and lose some.
    Json(std::int64_t value) : Json(cJSON_CreateRaw(std::to_string(value).c_str())) {}
    Json(std::string_view text);
    Json(const std::string &text) : Json(std::string_view{text}) {}
    Json(const char *text) : Json(std::string_view{text ? text : ""}) {}

    static Json object() { return Json{cJSON_CreateObject()}; }
    static Json array() { return Json{cJSON_CreateArray()}; }
    /// A text whose bytes are kept even if they are not UTF-8: a network may have any bytes as its name.
    static Json bytes(const std::string &text) { return Json{cJSON_CreateString(text.c_str())}; }
    /// Throws std::invalid_argument if the text is not JSON, JsonTooLarge if it exceeds the limits.
    static Json parse(const std::string &text);
    /// Parses the value at the beginning of a longer text; `length` is set to the length of the value's text.
    /// Throws as parse() does.
    static Json parse_first(const std::string &text, std::size_t &length);
    static Json copy_of(const cJSON *value) { return Json{cJSON_Duplicate(value, true)}; }
    Json copy() const { return copy_of(value_.get()); }

    Json &set(const char *key, Json value);
    Json &append(Json value);
    /// Moves the members of another object into this one.
    Json &add(Json object);

    const cJSON *get() const { return value_.get(); }
    cJSON *get() { return value_.get(); }
    std::string text() const;

private:
    explicit Json(cJSON *value);
    static Json parse(const std::string &text, const char **end, bool to_the_end);

    struct Delete {
        void operator()(cJSON *value) const { cJSON_Delete(value); }
    };
    std::unique_ptr<cJSON, Delete> value_;
};

std::string text_of(const cJSON *value);
/// The text of a value for an error message: at most 200 bytes of it.
std::string excerpt_of(const cJSON *value);

/// An optional value; null if it is missing.
template <class Optional>
Json or_null(const Optional &value)
{
    return value ? Json{*value} : Json{};
}

/// Values that convert to JSON, as an array.
template <class Values>
Json array_of(const Values &values)
{
    Json list = Json::array();
    for (const auto &value : values)
        list.append(Json{value});
    return list;
}

/// The members of an object in words: name "x", mode 0.
std::string in_words(const Json &object);

} // namespace kv::virtual_agent
