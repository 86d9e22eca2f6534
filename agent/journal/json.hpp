// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cjson/cJSON.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace kv::virtual_agent {

/// One JSON value. Text from outside is made valid UTF-8 on the way in, so that what is printed can always be parsed.
class Json {
public:
    Json() : Json(cJSON_CreateNull()) {}
    Json(bool value) : Json(cJSON_CreateBool(value)) {}
    Json(int value) : Json(cJSON_CreateNumber(value)) {}
    /// To the last digit, which a number that is kept as a double would not always be printed with.
    Json(std::int64_t value) : Json(cJSON_CreateRaw(std::to_string(value).c_str())) {}
    Json(std::string_view text);
    Json(const std::string &text) : Json(std::string_view{text}) {}
    Json(const char *text) : Json(std::string_view{text ? text : ""}) {}

    static Json object() { return Json{cJSON_CreateObject()}; }
    static Json array() { return Json{cJSON_CreateArray()}; }
    /// A text that goes out as it came in, valid or not: the name of a network is any bytes.
    static Json bytes(const std::string &text) { return Json{cJSON_CreateString(text.c_str())}; }
    /// Throws std::invalid_argument when the text is not JSON.
    static Json parse(const std::string &text);
    /// How long the text of a value is that stands first in a text, with more behind it; 0 when there is none.
    static std::size_t length_of_first(const std::string &text);
    static Json copy_of(const cJSON *value) { return Json{cJSON_Duplicate(value, true)}; }
    Json copy() const { return copy_of(value_.get()); }

    Json &set(const char *key, Json value);
    Json &append(Json value);
    /// Takes over the members of another object.
    Json &add(Json object);

    const cJSON *get() const { return value_.get(); }
    cJSON *get() { return value_.get(); }
    std::string text() const;

private:
    explicit Json(cJSON *value);

    struct Delete {
        void operator()(cJSON *value) const { cJSON_Delete(value); }
    };
    std::unique_ptr<cJSON, Delete> value_;
};

std::string text_of(const cJSON *value);

} // namespace kv::virtual_agent
