// SPDX-License-Identifier: Apache-2.0
#include "bundle.hpp"

#include <app_event_publish.h>

#include <glib.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>

using Entry = bundle_s::Entry;
using Kind = bundle_s::Kind;

namespace {

void free_entry(Entry *entry)
{
    switch (entry->kind) {
    case Kind::text: free(entry->text); break;
    case Kind::bytes: free(entry->bytes); break;
    case Kind::texts:
        for (std::size_t i = 0; i < entry->count; ++i)
            free(const_cast<char *>(entry->texts[i]));
        free(entry->texts);
        break;
    }
    free(entry->key);
    free(entry);
}

} // namespace

bundle_s::~bundle_s()
{
    while (Entry *entry = first) {
        first = entry->next;
        free_entry(entry);
    }
}

const Entry *bundle_s::find(const char *key) const
{
    for (const Entry *entry = first; entry; entry = entry->next) {
        if (strcmp(entry->key, key) == 0)
            return entry;
    }
    return nullptr;
}

Entry *bundle_s::add(const char *key, Kind kind)
{
    auto *entry = static_cast<Entry *>(calloc(1, sizeof(Entry)));
    if (!entry)
        return nullptr;
    entry->kind = kind;
    entry->key = strdup(key);
    if (kind == Kind::texts) // an empty array is an array too
        entry->texts = static_cast<const char **>(calloc(1, sizeof *entry->texts));
    if (!entry->key || (kind == Kind::texts && !entry->texts)) {
        free_entry(entry);
        return nullptr;
    }
    *end = entry;
    end = &entry->next;
    return entry;
}

void bundle_s::drop(Entry *entry)
{
    Entry **link = &first;
    while (*link != entry)
        link = &(*link)->next;
    *link = entry->next;
    if (end == &entry->next)
        end = link;
    free_entry(entry);
}

namespace kv::host {

int append_text(Entry *entry, const char *text)
{
    // Grown at powers of two; the terminating NULL takes one place.
    const std::size_t used = entry->count + 1;
    if ((used & (used - 1)) == 0) {
        void *grown = realloc(entry->texts, used * 2 * sizeof *entry->texts);
        if (!grown)
            return -ENOMEM;
        entry->texts = static_cast<const char **>(grown);
    }
    char *copy = strdup(text);
    if (!copy)
        return -ENOMEM;
    entry->texts[entry->count++] = copy;
    entry->texts[entry->count] = nullptr;
    return 0;
}

namespace {

/// 0 with the entry, -ENOENT without one, -EINVAL when it is of another kind.
int look_up(const bundle *data, const char *key, Kind kind, const Entry **entry)
{
    if (!data || !key)
        return -EINVAL;
    *entry = data->find(key);
    if (!*entry)
        return -ENOENT;
    return (*entry)->kind == kind ? 0 : -EINVAL;
}

bool is_text(const char *text)
{
    return text && g_utf8_validate(text, -1, nullptr);
}

/// Whether the key may be added: 0 or a negative errno.
int check_key(const bundle *data, const char *key)
{
    if (!data || !is_text(key))
        return -EINVAL;
    return data->find(key) ? -EEXIST : 0;
}

} // namespace

} // namespace kv::host

using namespace kv::host;

extern "C" int bundle_get_str(bundle *data, const char *key, char **value)
{
    const Entry *entry = nullptr;
    const int result = look_up(data, key, Kind::text, &entry);
    if (result != 0 || !value)
        return result != 0 ? result : -EINVAL;
    *value = entry->text;
    return 0;
}

extern "C" const char **bundle_get_str_array(bundle *data, const char *key, int *length)
{
    const Entry *entry = nullptr;
    if (look_up(data, key, Kind::texts, &entry) != 0 || !length)
        return nullptr;
    *length = static_cast<int>(entry->count);
    return entry->texts;
}

extern "C" int bundle_get_byte(bundle *data, const char *key, void **bytes, size_t *size)
{
    const Entry *entry = nullptr;
    const int result = look_up(data, key, Kind::bytes, &entry);
    if (result != 0 || !bytes || !size)
        return result != 0 ? result : -EINVAL;
    *bytes = entry->bytes;
    *size = entry->count;
    return 0;
}

extern "C" bundle *bundle_create()
{
    void *memory = malloc(sizeof(bundle));
    return memory ? new (memory) bundle : nullptr;
}

extern "C" void bundle_free(bundle *data)
{
    if (!data)
        return;
    data->~bundle();
    free(data);
}

extern "C" int bundle_add_str(bundle *data, const char *key, const char *value)
{
    if (const int error = check_key(data, key); error != 0)
        return error;
    if (!is_text(value))
        return -EINVAL;
    Entry *entry = data->add(key, Kind::text);
    if (!entry)
        return -ENOMEM;
    entry->text = strdup(value);
    if (entry->text)
        return 0;
    data->drop(entry);
    return -ENOMEM;
}

extern "C" int bundle_add_str_array(bundle *data, const char *key, const char *const *values, int count)
{
    if (const int error = check_key(data, key); error != 0)
        return error;
    if (count < 0 || (count > 0 && !values))
        return -EINVAL;
    for (int i = 0; i < count; ++i) {
        if (!is_text(values[i]))
            return -EINVAL;
    }
    Entry *entry = data->add(key, Kind::texts);
    if (!entry)
        return -ENOMEM;
    for (int i = 0; i < count; ++i) {
        if (const int error = append_text(entry, values[i]); error != 0) {
            data->drop(entry);
            return error;
        }
    }
    return 0;
}

extern "C" int bundle_add_byte(bundle *data, const char *key, const void *bytes, size_t size)
{
    if (const int error = check_key(data, key); error != 0)
        return error;
    if ((size > 0 && !bytes) || size > INT_MAX)
        return -EINVAL;
    Entry *entry = data->add(key, Kind::bytes);
    if (!entry)
        return -ENOMEM;
    entry->bytes = malloc(size > 0 ? size : 1); // no bytes are a value too, and not NULL
    if (!entry->bytes) {
        data->drop(entry);
        return -ENOMEM;
    }
    if (size > 0)
        memcpy(entry->bytes, bytes, size);
    entry->count = size;
    return 0;
}
