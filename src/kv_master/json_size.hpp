// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kv::master {

/// The size of a JSON text as a parsed value, counted without parsing it. A parsed value takes some 80 bytes and its
/// text as few as 2, so a document of another process is counted first.
struct JsonSize {
    /// A document of another process that has more values is refused: they would take more than 4 MB.
    static constexpr int max_values = 50'000;

    int values; ///< objects and arrays included; at least the actual number
    int depth;  ///< of nested objects and arrays
};

JsonSize json_size(const char *text);

} // namespace kv::master
