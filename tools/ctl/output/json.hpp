// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace kv::ctl {

/// JSON whose objects keep the order of their members.
using Json = nlohmann::ordered_json;

/// Deeper texts are refused, because nlohmann::json prints a value recursively.
inline constexpr int max_json_depth = 128;

/// A number without a fraction as an integer.
Json number_of(double value);
/// Parses a text. The result is discarded (`is_discarded()`) if the text is not JSON or nests too deeply. A number
/// without a fraction is an integer, also when it is written as 1.0 or 1e3.
Json parsed(std::string_view text);
/// Parses a text that must be JSON. `what` names it in the UsageError.
Json parsed_argument(std::string_view text, const std::string &what);

/// The value in one line. Invalid UTF-8 is replaced, so that the result can be parsed again.
std::string text_of(const Json &value);
/// The same in several indented lines.
std::string indented_text_of(const Json &value);

/// A member of an object that another process sent; null if the object does not have it.
const Json &member_of(const Json &object, const char *name);
/// The member as text: a string as it is, another value as JSON, "" if it is missing.
std::string text_in(const Json &object, const char *name);
/// The texts in an array; empty for any other value.
std::vector<std::string> texts_in(const Json &array);
/// The member if it is a whole number, else the fallback.
long long number_in(const Json &object, const char *name, long long fallback);
/// The member if it is a Boolean value, else the fallback.
bool flag_in(const Json &object, const char *name, bool fallback);

} // namespace kv::ctl
