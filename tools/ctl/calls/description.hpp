// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/json.hpp"

#include <string_view>

namespace kv::ctl {

/// Returns what korvane.h documents about an exported function: an object with group, summary, parameters, results and use.
/// Returns null for any other name.
Json description_of(std::string_view function);

} // namespace kv::ctl
