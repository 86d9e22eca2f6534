// SPDX-License-Identifier: Apache-2.0
#include "adapter.hpp"

#include <sstream>

namespace kv::ctl {

Json items_from(const std::string &text)
{
    Json items = Json::array();
    if (text.rfind('[', 0) == 0) {
        items = parsed(text);
        if (!items.is_array())
            throw UsageError{"'" + text + "' must be a JSON array"};
        return items;
    }
    std::istringstream parts{text};
    for (std::string part; std::getline(parts, part, ',');)
        items.push_back(part);
    return items;
}

} // namespace kv::ctl
