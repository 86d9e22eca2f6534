// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/json.hpp"

#include <string>

namespace kv::ctl {

/// One line of text for an entry of the agent's journal, whatever its members are.
std::string entry_text(const Json &entry);

} // namespace kv::ctl
