// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace kv::ctl {

/// Members stay in the order in which they came.
using Json = nlohmann::ordered_json;

/// In one line. Bytes that are no UTF-8 are replaced, so that what is printed can always be parsed.
inline std::string text_of(const Json &value)
{
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace kv::ctl
