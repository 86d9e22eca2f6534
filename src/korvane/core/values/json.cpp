// SPDX-License-Identifier: Apache-2.0
#include "json.hpp"

#include "src/kv_master/json_size.hpp"

namespace kv::api {

Json parse_document(const char *text)
{
    return Json{text && master::json_size(text).values <= master::JsonSize::max_values ? cJSON_Parse(text) : nullptr};
}

} // namespace kv::api
