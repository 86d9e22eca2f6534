// SPDX-License-Identifier: Apache-2.0
#include "json_size.hpp"

namespace kv::master {

JsonSize json_size(const char *text)
{
    JsonSize size{1, 0};
    int depth = 0;
    bool in_string = false;
    for (; *text; ++text) {
        if (in_string && *text == '\\' && text[1])
            ++text;
        else if (*text == '"')
            in_string = !in_string;
        else if (in_string)
            continue;
        else if (*text == ',')
            ++size.values;
        else if (*text == '[' || *text == '{') {
            ++size.values;
            if (++depth > size.depth)
                size.depth = depth;
        } else if ((*text == ']' || *text == '}') && depth > 0)
            --depth;
    }
    return size;
}

} // namespace kv::master
