// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/json/json.hpp"

namespace kv::virtual_agent {

/// A secret for logs and views: only its length, as "<secret, 12 bytes>".
Json show_masked(const char *text);

/// A JSON document for logs and views: members that are known to hold no secret stay as they are, all others are
/// masked. A text that is not a JSON object is masked as a whole.
Json show_document(const char *text);

} // namespace kv::virtual_agent
