// SPDX-License-Identifier: Apache-2.0
#include "suggestion.hpp"

#include "common/suggestion.hpp"

namespace kv::ctl {

std::string suggestion(const std::string &mistyped, const std::vector<std::string> &names)
{
    return kv::suggestion(mistyped, names);
}

} // namespace kv::ctl
