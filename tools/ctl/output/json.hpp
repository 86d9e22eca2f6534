// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include <cmath>
#include <string>

namespace kv::ctl {

/// Members stay in the order in which they came.
using Json = nlohmann::ordered_json;

/// What stands in the text; discarded when that is no JSON. Whole numbers are such however they are written.
inline Json parsed(std::string_view text)
{
    const auto whole = [](int, Json::parse_event_t event, Json &value) {
        constexpr double exact = 9007199254740992; // 2 to the 53
        if (event == Json::parse_event_t::value && value.is_number_float())
            if (const double number = value; std::trunc(number) == number && std::abs(number) <= exact)
                value = static_cast<std::int64_t>(number);
        return true;
    };
    return Json::parse(text, whole, false);
}

/// In one line. Bytes that are no UTF-8 are replaced, so that what is printed can always be parsed.
inline std::string text_of(const Json &value)
{
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace kv::ctl
