// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/device/state.hpp"
#include "agent/interface/methods.hpp"

#include <cstring>
#include <optional>
#include <string>

/// Small conversions that several handlers share.
namespace kv::virtual_agent {

inline constexpr int done = 0;

inline int result_of(bool succeeded)
{
    return succeeded ? done : refused;
}

inline std::string text_of(const CText &text)
{
    return text ? text.get() : "";
}

/// Stores a text unless it is longer than what the agent keeps, and returns the result of the request.
inline int store(std::string &to, const char *text)
{
    if (std::strlen(text) > max_kept_text)
        return refused;
    to = text;
    return done;
}

/// The JSON object that a text holds; nothing if it holds none or is longer than what the agent keeps.
std::optional<Json> document_of(const char *text);

} // namespace kv::virtual_agent
