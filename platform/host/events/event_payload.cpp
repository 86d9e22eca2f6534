// SPDX-License-Identifier: Apache-2.0
#include "event_payload.hpp"

#include "platform/host/log/log.hpp"
#include <app_event_publish.h>

#include <cerrno>
#include <climits>
#include <cstring>

namespace kv::host {

namespace {

/// Limits the memory that one event uses, because any program on the bus can send one.
class Budget {
public:
    int spend(std::size_t bytes)
    {
        constexpr std::size_t overhead = 64; // per entry or text
        if (bytes + overhead > left_)
            return -E2BIG;
        left_ -= bytes + overhead;
        return 0;
    }

private:
    std::size_t left_ = 256 * 1024;
};

class PayloadReader {
public:
    PayloadReader(const BusLibrary &library, sd_bus_message *message, const char *event_name, bundle *data)
        : lib_(library), message_(message), event_name_(event_name), data_(data)
    {
    }

    int read()
    {
        if (lib_.message_has_signature(message_, "a{sv}") <= 0)
            return -EBADMSG;
        int more = lib_.message_enter_container(message_, 'a', "{sv}");
        while (more >= 0 && (more = lib_.message_enter_container(message_, 'e', "sv")) > 0) {
            more = read_entry();
            if (more >= 0)
                more = lib_.message_exit_container(message_);
        }
        return more;
    }

private:
    int read_entry()
    {
        constexpr int max_entries = 256; // a lookup walks the list
        if (++entries_ > max_entries)
            return -E2BIG;
        const char *key = nullptr;
        const char *type = nullptr;
        if (int error = lib_.message_read_basic(message_, 's', &key); error < 0)
            return error;
        if (int error = lib_.message_peek_type(message_, nullptr, &type); error < 0)
            return error;
        if (int error = budget_.spend(strlen(key)); error < 0)
            return error;
        if (data_->find(key)) {
            dlog_print(log_info, log_tag, "event %s: ignoring a second value of \"%s\"", event_name_, key);
            return lib_.message_skip(message_, "v");
        }
        if (strcmp(type, "s") == 0)
            return read_variant(type, key, &PayloadReader::read_text);
        if (strcmp(type, "as") == 0)
            return read_variant(type, key, &PayloadReader::read_texts);
        if (strcmp(type, "ay") == 0)
            return read_variant(type, key, &PayloadReader::read_bytes);
        dlog_print(log_info, log_tag, "event %s: ignoring \"%s\" of type \"%s\"", event_name_, key, type);
        return lib_.message_skip(message_, "v");
    }

    int read_variant(const char *type, const char *key, int (PayloadReader::*read_value)(const char *key))
    {
        int result = lib_.message_enter_container(message_, 'v', type);
        if (result >= 0)
            result = (this->*read_value)(key);
        return result < 0 ? result : lib_.message_exit_container(message_);
    }

    int read_text(const char *key)
    {
        const char *text = nullptr;
        int result = lib_.message_read_basic(message_, 's', &text);
        if (result >= 0)
            result = budget_.spend(strlen(text));
        return result < 0 ? result : bundle_add_str(data_, key, text);
    }

    int read_texts(const char *key)
    {
        int result = lib_.message_enter_container(message_, 'a', "s");
        if (result < 0)
            return result;
        Owned<bundle::Entry> entry = bundle::create(key, bundle::Kind::texts);
        if (!entry)
            return -ENOMEM;
        const char *text = nullptr;
        while ((result = lib_.message_read_basic(message_, 's', &text)) > 0) {
            result = budget_.spend(strlen(text));
            if (result >= 0)
                result = entry->texts.append(text);
            if (result < 0)
                return result;
        }
        if (result >= 0)
            result = lib_.message_exit_container(message_);
        if (result >= 0)
            data_->add(std::move(entry));
        return result;
    }

    int read_bytes(const char *key)
    {
        const void *bytes = nullptr;
        std::size_t size = 0;
        int result = lib_.message_read_array(message_, 'y', &bytes, &size);
        if (result >= 0)
            result = budget_.spend(size);
        return result < 0 ? result : bundle_add_byte(data_, key, bytes, size);
    }

    const BusLibrary &lib_;
    sd_bus_message *message_;
    const char *event_name_;
    bundle *data_;
    Budget budget_;
    int entries_ = 0;
};

int write_value(const BusLibrary &lib, sd_bus_message *message, const bundle::Entry &entry)
{
    switch (entry.kind) {
    case bundle::Kind::text: return lib.message_append_basic(message, 's', entry.text.get());
    case bundle::Kind::bytes: return lib.message_append_array(message, 'y', entry.bytes.get(), entry.size);
    case bundle::Kind::texts: break;
    }
    int result = lib.message_open_container(message, 'a', "s");
    for (std::size_t i = 0; result >= 0 && i < entry.texts.count(); ++i)
        result = lib.message_append_basic(message, 's', entry.texts.texts()[i]);
    return result < 0 ? result : lib.message_close_container(message);
}

const char *signature_of(bundle::Kind kind)
{
    switch (kind) {
    case bundle::Kind::text: return "s";
    case bundle::Kind::texts: return "as";
    case bundle::Kind::bytes: break;
    }
    return "ay";
}

} // namespace

int read_payload(const BusLibrary &library, sd_bus_message *message, const char *event_name, bundle *data)
{
    const int result = PayloadReader(library, message, event_name, data).read();
    if (result >= 0)
        return 0;
    if (result == -EBADMSG)
        dlog_print(log_error, log_tag, "dropping event %s: its payload is not a dictionary (a{sv})", event_name);
    else
        dlog_print(log_error, log_tag, "dropping event %s: %s", event_name, strerror(-result));
    return result;
}

int write_payload(const BusLibrary &library, sd_bus_message *message, const bundle *data)
{
    int result = library.message_open_container(message, 'a', "{sv}");
    for (const bundle::Entry *entry = data ? data->first.get() : nullptr; result >= 0 && entry;
         entry = entry->next.get()) {
        result = library.message_open_container(message, 'e', "sv");
        if (result >= 0)
            result = library.message_append_basic(message, 's', entry->key.get());
        if (result >= 0)
            result = library.message_open_container(message, 'v', signature_of(entry->kind));
        if (result >= 0)
            result = write_value(library, message, *entry);
        if (result >= 0)
            result = library.message_close_container(message);
        if (result >= 0)
            result = library.message_close_container(message);
    }
    return result < 0 ? result : library.message_close_container(message);
}

} // namespace kv::host
