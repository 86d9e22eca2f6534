// SPDX-License-Identifier: Apache-2.0
#include "bundle.hpp"

#include <app_event_publish.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

using Entry = bundle_s::Entry;
using Kind = bundle_s::Kind;

bundle_s::~bundle_s()
{
    while (first) // one by one: a chain of destructors would need a deep stack
        first = std::move(first->next);
}

const Entry *bundle_s::find(const char *key) const
{
    for (const Entry *entry = first.get(); entry; entry = entry->next.get()) {
        if (strcmp(entry->key.get(), key) == 0)
            return entry;
    }
    return nullptr;
}

kv::host::Owned<Entry> bundle_s::create(const char *key, Kind kind)
{
    kv::host::Owned<Entry> entry = kv::host::make<Entry>();
    if (!entry)
        return nullptr;
    entry->kind = kind;
    entry->key = kv::host::copy_text(key);
    if (!entry->key || (kind == Kind::texts && !entry->texts.create()))
        return nullptr;
    return entry;
}

void bundle_s::add(kv::host::Owned<Entry> entry)
{
    *end = std::move(entry);
    end = &(*end)->next;
}

namespace kv::host {

TextArray::~TextArray()
{
    for (std::size_t i = 0; i < count_; ++i)
        const CText released{const_cast<char *>(texts_.get()[i])};
}

bool TextArray::create()
{
    texts_.reset(static_cast<const char **>(calloc(1, sizeof(const char *))));
    return texts_ != nullptr;
}

int TextArray::append(const char *text)
{
    // The array grows at powers of two. The terminating NULL takes one place.
    const std::size_t used = count_ + 1;
    if ((used & (used - 1)) == 0) {
        auto *grown = static_cast<const char **>(realloc(texts_.get(), used * 2 * sizeof(const char *)));
        if (!grown)
            return -ENOMEM;
        (void)texts_.release(); // realloc has released it
        texts_.reset(grown);
    }
    CText copy = copy_text(text);
    if (!copy)
        return -ENOMEM;
    texts_.get()[count_++] = copy.release();
    texts_.get()[count_] = nullptr;
    return 0;
}

namespace {

/// 0 with the entry; -ENOENT without an entry; -EINVAL if it is of another kind.
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

bool are_texts(const char *const *values, int count)
{
    if (count < 0 || (count > 0 && !values))
        return false;
    return std::all_of(values, values + count, is_text);
}

/// Copies the bytes into the entry. A value without bytes is not NULL. Returns false if memory runs out.
bool copy_bytes(Entry *entry, const void *bytes, std::size_t size)
{
    entry->bytes.reset(malloc(size > 0 ? size : 1));
    if (!entry->bytes)
        return false;
    if (size > 0)
        memcpy(entry->bytes.get(), bytes, size);
    entry->size = size;
    return true;
}

/// 0 if the key can be added, or a negative errno.
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
    *value = entry->text.get();
    return 0;
}

extern "C" const char **bundle_get_str_array(bundle *data, const char *key, int *length)
{
    const Entry *entry = nullptr;
    if (look_up(data, key, Kind::texts, &entry) != 0 || !length)
        return nullptr;
    *length = static_cast<int>(entry->texts.count());
    return entry->texts.texts();
}

extern "C" int bundle_get_byte(bundle *data, const char *key, void **bytes, size_t *size)
{
    const Entry *entry = nullptr;
    const int result = look_up(data, key, Kind::bytes, &entry);
    if (result != 0 || !bytes || !size)
        return result != 0 ? result : -EINVAL;
    *bytes = entry->bytes.get();
    *size = entry->size;
    return 0;
}

extern "C" bundle *bundle_create()
{
    return make<bundle>().release();
}

extern "C" void bundle_free(bundle *data)
{
    const Owned<bundle> released{data};
}

extern "C" int bundle_add_str(bundle *data, const char *key, const char *value)
{
    if (const int error = check_key(data, key); error != 0)
        return error;
    if (!is_text(value))
        return -EINVAL;
    Owned<Entry> entry = bundle::create(key, Kind::text);
    if (!entry)
        return -ENOMEM;
    entry->text = copy_text(value);
    if (!entry->text)
        return -ENOMEM;
    data->add(std::move(entry));
    return 0;
}

extern "C" int bundle_add_str_array(bundle *data, const char *key, const char *const *values, int count)
{
    if (const int error = check_key(data, key); error != 0)
        return error;
    if (!are_texts(values, count))
        return -EINVAL;
    Owned<Entry> entry = bundle::create(key, Kind::texts);
    if (!entry)
        return -ENOMEM;
    for (int i = 0; i < count; ++i) {
        if (const int error = entry->texts.append(values[i]); error != 0)
            return error;
    }
    data->add(std::move(entry));
    return 0;
}

extern "C" int bundle_add_byte(bundle *data, const char *key, const void *bytes, size_t size)
{
    if (const int error = check_key(data, key); error != 0)
        return error;
    if ((size > 0 && !bytes) || size > INT_MAX)
        return -EINVAL;
    Owned<Entry> entry = bundle::create(key, Kind::bytes);
    if (!entry || !copy_bytes(entry.get(), bytes, size))
        return -ENOMEM;
    data->add(std::move(entry));
    return 0;
}
