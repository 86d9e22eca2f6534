// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bundle.h>

#include <cstddef>

#include "platform/host/owned.hpp"

namespace kv::host {

/// Texts in one array that ends with NULL, as bundle_get_str_array returns it.
class TextArray {
public:
    TextArray() = default;
    ~TextArray();
    TextArray(const TextArray &) = delete;
    TextArray &operator=(const TextArray &) = delete;

    /// Creates the empty array; false when out of memory.
    bool create();
    /// Adds a copy of the text to a created array: 0 or -ENOMEM.
    int append(const char *text);

    const char **texts() const { return texts_.get(); }
    std::size_t count() const { return count_; }

private:
    Allocated<const char *> texts_;
    std::size_t count_ = 0;
};

} // namespace kv::host

/// Values by key, in the order in which they were added. A lookup walks the list, because an event has few entries.
struct bundle_s {
    enum class Kind { text, texts, bytes };

    struct Entry {
        kv::host::Owned<Entry> next;
        Kind kind = Kind::text;
        kv::host::CText key;
        kv::host::CText text;
        kv::host::TextArray texts;
        kv::host::Allocated<void> bytes;
        std::size_t size = 0; ///< of the bytes
    };

    bundle_s() = default;
    ~bundle_s();
    bundle_s(const bundle_s &) = delete;
    bundle_s &operator=(const bundle_s &) = delete;

    const Entry *find(const char *key) const;
    /// Null when out of memory.
    static kv::host::Owned<Entry> create(const char *key, Kind kind);
    void add(kv::host::Owned<Entry> entry);

    kv::host::Owned<Entry> first;
    kv::host::Owned<Entry> *end = &first;
};
