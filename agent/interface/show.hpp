// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/json/json.hpp"
#include "src/kv_master/shown_call.hpp"

namespace kv::virtual_agent {

/// The form of values in the journal, the log and the state. Long values are cut, because all entries stay in memory.
struct JournalFormat {
    using Json = virtual_agent::Json;
    static constexpr std::size_t max_text = 1024;
    static constexpr int max_items = 32;

    static Json text(std::string_view text) { return text; }
    static Json number(double number) { return number; }
    static Json object() { return Json::object(); }
    static Json array() { return Json::array(); }
    static void set(Json &object, const char *name, Json value) { object.set(name, std::move(value)); }
    static void append(Json &array, Json value) { array.append(std::move(value)); }
};

using Shown = ShownCall<JournalFormat>;

} // namespace kv::virtual_agent
