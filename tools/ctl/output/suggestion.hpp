// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace kv::ctl {

/// "; did you mean 'NAME'?" for the name that is nearest to a mistyped one; empty when none is near.
std::string suggestion(const std::string &mistyped, const std::vector<std::string> &names);

} // namespace kv::ctl
