// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace kv::ctl {

/// Returns "; did you mean 'NAME'?" for the name that is most similar to a mistyped one, or "" if none is similar.
std::string suggestion(const std::string &mistyped, const std::vector<std::string> &names);

} // namespace kv::ctl
