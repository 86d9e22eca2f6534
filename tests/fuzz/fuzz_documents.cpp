// SPDX-License-Identifier: Apache-2.0
// JSON documents that the library receives or makes. The first byte selects one, the second the version of the agent; the rest
// is the text. Every function that takes an object of this kind is called with it.

#include "fuzz_input.hpp"
#include "matrix/world.hpp"

#include <stdexcept>

namespace {

using namespace kv;
using namespace kv::test;
using namespace kv::test::matrix;

/// Calls every function that reads or sends an object of this kind.
void use(World &world, Subject subject)
{
    for (const Function &function : functions())
        if (function.subject == subject)
            function.call(world);
}

/// The text in place of the one that the event has in the table.
void receive(World &world, int event, Subject subject, const Bytes &values)
{
    Event with_text = event_numbered(event);
    with_text.values = values;
    const Bytes parcel = world.subscribe(with_text);
    world.during_callback = [&] { use(world, subject); };
    world.arrives(parcel);
}

void reply_with(const Bytes &outs)
{
    FakePlatform::instance().main_port().on_sent = [outs](Port &port, const Bytes &) { port.push(reply(0, outs)); };
}

void read(World &world, std::size_t kind, const std::string &text)
{
    switch (kind) {
    case 0: return receive(world, 18, Subject::ap_info, str(text));
    case 1: return receive(world, 28, Subject::token_info, bytes(i32(0), str(text)));
    case 2: return receive(world, 32, Subject::token_info, bytes(i32(0), str(text)));
    case 3:
        reply_with(str(text));
        if (korvane_get_tcp_header_info(world.handle, &world.tcp_header) == ok)
            use(world, Subject::tcp_header);
        return;
    case 4:
        reply_with(str(text));
        if (korvane_get_sub_device_presence_list(world.handle, &world.presences, &world.presence_count) == ok &&
            world.presence_count > 0)
            use(world, Subject::presences);
        return;
    case 5:
        korvane_send_custom_push_msg(world.handle, text.c_str());
        korvane_create_hdr_token_info_custom(world.handle, text.c_str(), on_event, &world);
        return;
    default: // the reply of the generic method
        reply_with(str(text));
        korvane_set_device_type_with_device_no(world.handle, 1, text.c_str());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    constexpr std::size_t kinds = 7;
    constexpr int versions[] = {1003, 1004, 1006, 2000, 2001, 2003};
    FuzzInput input{data, size};
    const std::size_t kind = input.below(kinds);
    const int version = versions[input.below(std::size(versions))];
    std::string text = input.rest();
    text.resize(std::min(text.size(), text.find('\0')));
    {
        FakePlatform::instance().reset();
        World world;
        world.begin(Subject::library, version);
        try {
            read(world, kind, text);
        } catch (const std::runtime_error &) { // this agent has no such document
        }
    }
    for (const std::string &what : FakePlatform::instance().take_misuses())
        must(false, what.c_str());
    for (const std::string &what : FakePlatform::instance().alive())
        must(false, ("left alive: " + what).c_str());
    return 0;
}
