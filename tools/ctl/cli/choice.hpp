// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/suggestion.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace kv::ctl {

/// Allows only these values, and suggests one for a mistyped one.
inline CLI::Validator one_of(std::vector<std::string> values)
{
    const auto check = [values](std::string &text) {
        if (std::find(values.begin(), values.end(), text) != values.end())
            return std::string{};
        std::string list;
        for (const std::string &value : values)
            list += (list.empty() ? "" : ", ") + value;
        return "unknown value '" + text + "'" + suggestion(text, values) + " (one of: " + list + ")";
    };
    return CLI::Validator{check, ""};
}

} // namespace kv::ctl
