// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bundle.h>

#include <cstddef>

/// Values by key, in the order in which they were added. Lookup is by the first entry of a key: events have a handful.
struct bundle_s {
    enum class Kind { text, texts, bytes };

    struct Entry {
        Entry *next;
        Kind kind;
        char *key;
        std::size_t count; ///< texts: how many; bytes: how long
        union {
            char *text;
            const char **texts; ///< ended by NULL
            void *bytes;
        };
    };

    Entry *first = nullptr;
    Entry **end = &first;

    bundle_s() = default;
    ~bundle_s();
    bundle_s(const bundle_s &) = delete;
    bundle_s &operator=(const bundle_s &) = delete;

    const Entry *find(const char *key) const;
    /// The new last entry, of this kind and still empty; NULL when out of memory.
    Entry *add(const char *key, Kind kind);
    void drop(Entry *entry);
};

namespace kv::host {

/// Room of an array of texts while it is filled; the entry owns what is in it at any time. 0 or a negative errno.
int append_text(bundle_s::Entry *entry, const char *text);

} // namespace kv::host
