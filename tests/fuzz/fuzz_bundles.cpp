// SPDX-License-Identifier: Apache-2.0
// Data of application events: the input describes a message of the bus, with values of many types and keys that repeat. What
// the platform accepts must be readable by key, and a message that it writes from that must give the same data.

#include "fuzz_input.hpp"
#include "platform/host/events/event_payload.hpp"

#include <app_event_publish.h>

#include <memory>

#include <sys/socket.h>

namespace {

using kv::host::BusLibrary;
using Bus = std::unique_ptr<sd_bus, decltype(&sd_bus_unref)>;
using Message = std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>;
using Data = std::unique_ptr<bundle, decltype(&bundle_free)>;

const BusLibrary &library()
{
    static const BusLibrary linked = [] {
        BusLibrary all{};
        all.message_has_signature = sd_bus_message_has_signature;
        all.message_open_container = sd_bus_message_open_container;
        all.message_close_container = sd_bus_message_close_container;
        all.message_append_basic = sd_bus_message_append_basic;
        all.message_append_array = sd_bus_message_append_array;
        all.message_enter_container = sd_bus_message_enter_container;
        all.message_exit_container = sd_bus_message_exit_container;
        all.message_peek_type = sd_bus_message_peek_type;
        all.message_read_basic = sd_bus_message_read_basic;
        all.message_read_array = sd_bus_message_read_array;
        all.message_skip = sd_bus_message_skip;
        return all;
    }();
    return linked;
}

/// A connection that only serves to make messages.
sd_bus *bus()
{
    static const Bus unconnected = [] {
        sd_bus *made = nullptr;
        int ends[2] = {};
        must(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0 && sd_bus_new(&made) >= 0 &&
                 sd_bus_set_fd(made, ends[0], ends[0]) >= 0 && sd_bus_start(made) >= 0,
             "no bus");
        return Bus{made, sd_bus_unref};
    }();
    return unconnected.get();
}

Message new_message()
{
    sd_bus_message *message = nullptr;
    must(sd_bus_message_new_signal(bus(), &message, "/", "a.b", "C") >= 0, "no message");
    return {message, sd_bus_message_unref};
}

/// A text in a message must be UTF-8 without zeros; other bytes become letters.
std::string valid(std::string text)
{
    for (char &letter : text)
        if (static_cast<signed char>(letter) <= 0)
            letter = 'x';
    return text;
}

void append_variant(sd_bus_message *message, FuzzInput &input)
{
    constexpr const char *signatures[] = {"s", "as", "ay", "i", "as", "a{sv}", "(ss)", "ab"};
    const std::string type = signatures[input.below(std::size(signatures))];
    sd_bus_message_open_container(message, 'v', type.c_str());
    if (type == "s") {
        sd_bus_message_append_basic(message, 's', valid(input.text()).c_str());
    } else if (type == "as") {
        sd_bus_message_open_container(message, 'a', "s");
        for (std::size_t count = input.below(8); count > 0; --count)
            sd_bus_message_append_basic(message, 's', valid(input.text()).c_str());
        sd_bus_message_close_container(message);
    } else if (type == "ay") {
        const std::string bytes = input.text();
        sd_bus_message_append_array(message, 'y', bytes.data(), bytes.size());
    } else if (type == "i") {
        const int number = static_cast<int>(input.byte());
        sd_bus_message_append_basic(message, 'i', &number);
    } else if (type == "(ss)") {
        sd_bus_message_append(message, "(ss)", "a", "b");
    } else { // an empty array of another type
        sd_bus_message_open_container(message, 'a', type.c_str() + 1);
        sd_bus_message_close_container(message);
    }
    sd_bus_message_close_container(message);
}

Message message_from(FuzzInput &input)
{
    Message message = new_message();
    if (input.byte() == 255) { // not a dictionary
        sd_bus_message_append_basic(message.get(), 's', valid(input.rest()).c_str());
        return message;
    }
    sd_bus_message_open_container(message.get(), 'a', "{sv}");
    while (!input.at_end()) {
        sd_bus_message_open_container(message.get(), 'e', "sv");
        sd_bus_message_append_basic(message.get(), 's', valid(input.text()).c_str());
        append_variant(message.get(), input);
        sd_bus_message_close_container(message.get());
    }
    sd_bus_message_close_container(message.get());
    return message;
}

/// The data that the platform reads from a message; null if it refuses the message.
Data read(sd_bus_message *message)
{
    Data data{bundle_create(), bundle_free};
    if (sd_bus_message_seal(message, 1, 0) < 0 || kv::host::read_payload(library(), message, "a.b.C", data.get()) != 0)
        return {nullptr, bundle_free};
    return data;
}

/// All keys and values as one text, read with the functions of an application.
std::string content_of(bundle &data)
{
    std::string all;
    for (const bundle::Entry *entry = data.first.get(); entry; entry = entry->next.get()) {
        const char *key = entry->key.get();
        char *text = nullptr;
        void *bytes = nullptr;
        std::size_t size = 0;
        int count = 0;
        all.append(key).append("=");
        if (bundle_get_str(&data, key, &text) == 0)
            all.append("s").append(text);
        else if (bundle_get_byte(&data, key, &bytes, &size) == 0)
            all.append("y").append(static_cast<const char *>(bytes), size);
        else if (const char **texts = bundle_get_str_array(&data, key, &count))
            for (int i = 0; i < count; ++i)
                all.append("a").append(texts[i]).append(",");
        else
            must(false, "a key has no value");
    }
    return all;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    FuzzInput input{bytes, size};
    const Data data = read(message_from(input).get());
    if (!data)
        return 0;
    const Message copy = new_message();
    must(kv::host::write_payload(library(), copy.get(), data.get()) >= 0, "data that was read cannot be written");
    const Data again = read(copy.get());
    must(again && content_of(*data) == content_of(*again), "data that was written is read as something else");
    return 0;
}
