// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/journal/json.hpp"
#include "decode.hpp"

namespace kv::virtual_agent {

/// A JSON document for people: its members as they are where it is known that they are no secret, and masked where not.
/// What is no JSON object is masked as a whole.
Json show_document(const char *text);

/// The same for anything that is not to be shown: only how long it is.
Json show_masked(const char *text);

// Of the texts that are not to be shown, these are documents.
inline Json show(describe::Secret<"request">, const char *text)
{
    return show_document(text);
}
inline Json show(describe::Secret<"ap_info">, const char *text)
{
    return show_document(text);
}
inline Json show(describe::Secret<"token_info">, const char *text)
{
    return show_document(text);
}

} // namespace kv::virtual_agent
