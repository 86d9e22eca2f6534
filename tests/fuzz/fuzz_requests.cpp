// SPDX-License-Identifier: Apache-2.0
// Requests to the virtual agent. The input is a request parcel that begins with the method id. The target serves it and
// formats request and reply for the journal.

#include "support/lone_device.hpp"

#include <rpc_port_stub.h>

#include <cstdint>
#include <cstdlib>

using namespace kv::virtual_agent;

namespace {

Parcel parcel_of(const std::uint8_t *data, std::size_t size)
{
    rpc_port_parcel_h parcel = nullptr;
    if (rpc_port_parcel_create_from_raw(&parcel, data, size) != 0)
        std::abort();
    return Parcel{parcel};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const Parcel request = parcel_of(data, size);
    int id = 0;
    if (rpc_port_parcel_read_int32(request.get(), &id) != 0)
        return 0;
    const MethodEntry *method = find_method(id);
    if (!method)
        return 0;

    kv::test::LoneDevice device;
    Peer peer{"instance", "program(1)"};
    Call call{peer};
    const Served served = device.handlers.serve(*method, call, request.get(), {});
    const std::string shown = method->show_arguments(request.get()).text();
    if (shown.empty() || served.decoded != static_cast<bool>(served.reply))
        std::abort();
    if (served.reply && method->show_reply(served.reply.get()).text().find("result") == std::string::npos)
        std::abort();
    return 0;
}
