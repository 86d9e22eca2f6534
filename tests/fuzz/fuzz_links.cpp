// SPDX-License-Identifier: Apache-2.0
// Handshake and frames, over real sockets. The first byte selects the end under test, the agent's or the application's, and
// whether the handshake precedes the input. The rest are actions of the other end: bytes or a frame on one of the two links,
// the end of a link, and at the application's end a call. The end under test must deliver the frames that arrived in order,
// unchanged, and no others; it may close the connection at any time.

#include "fuzz_input.hpp"
#include "testing/support/file_descriptor.hpp"
#include "testing/support/temporary_directory.hpp"

#include <rpc_port.h>
#include <rpc_port_stub.h>

#include <glib.h>

#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using kv::test::FileDescriptor;

constexpr const char *appid = "agent";
constexpr const char *port_name = "kv_master";

const std::string &socket_path()
{
    static const kv::test::TemporaryDirectory directory{"korvane-fuzz"};
    static const std::string path = [] {
        ::setenv("KORVANE_RUNTIME_DIR", directory.path().c_str(), 1);
        ::setenv("KORVANE_PACKAGE_DIR", directory.path().c_str(), 1);
        ::setenv("KORVANE_REPLY_TIMEOUT_MS", "1", 1);
        return (directory / "agent.kv_master.sock").string();
    }();
    return path;
}

void run_ready_sources()
{
    while (g_main_context_iteration(nullptr, FALSE))
        continue;
}

std::string u32(std::size_t value)
{
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>(value >> shift & 0xff);
    return bytes;
}

std::string frame(const std::string &payload)
{
    return u32(payload.size()) + payload;
}

sockaddr_un address()
{
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    socket_path().copy(place.sun_path, sizeof place.sun_path - 1);
    return place;
}

FileDescriptor new_socket()
{
    return FileDescriptor{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
}

/// One direction of a link: what was sent, and the frames that were delivered from it.
struct Direction {
    std::string sent{};
    std::size_t delivered = 0; // bytes of the frames that were delivered

    /// Checks that the next frame of what was sent is this one.
    void deliver(const std::string &payload)
    {
        must(sent.compare(delivered, payload.size() + 4, frame(payload)) == 0, "a frame arrives that was not sent");
        delivered += payload.size() + 4;
    }
};

std::string payload_of(rpc_port_h port)
{
    rpc_port_parcel_h parcel = nullptr;
    const void *bytes = nullptr;
    std::size_t size = 0;
    must(rpc_port_parcel_create_from_port(&parcel, port) == 0, "an announced frame cannot be read");
    rpc_port_parcel_get_raw(parcel, &bytes, &size);
    std::string payload{static_cast<const char *>(bytes), size};
    rpc_port_parcel_destroy(parcel);
    return payload;
}

/// The peer of the end under test, which sends what the input says.
class Sender {
public:
    Sender(FileDescriptor main, FileDescriptor callback) : links_{std::move(main), std::move(callback)} {}

    void act(FuzzInput &input)
    {
        const unsigned what = input.byte();
        const std::size_t link = what & 1;
        switch (what >> 1 & 3) {
        case 0: return send(link, input.text());
        case 1: return send(link, frame(input.text()));
        case 2: return send(link, frame(std::string(16 * input.byte(), 'x')));
        default: links_[link].close();
        }
    }

    void send(std::size_t link, const std::string &bytes)
    {
        const ssize_t sent =
            links_[link].is_open() ? ::send(links_[link].get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) : -1;
        if (sent > 0)
            directions[link].sent += bytes.substr(0, static_cast<std::size_t>(sent));
    }

    void close()
    {
        for (FileDescriptor &link : links_)
            link.close();
    }

    Direction directions[2]{}; // from the end of the handshake on

private:
    FileDescriptor links_[2];
};

// ---- the agent's end -------------------------------------------------------------------------------------------------

std::string handshake_request(char link)
{
    return frame("VKPL" + u32(1) + link + std::string(16, 't') + u32(4) + "fuzz");
}

FileDescriptor connected_socket()
{
    FileDescriptor link = new_socket();
    const sockaddr_un place = address();
    must(::connect(link.get(), reinterpret_cast<const sockaddr *>(&place), sizeof place) == 0,
         "the socket refuses a connection");
    return link;
}

void test_stub(FuzzInput &input, bool shakes_hands)
{
    Sender *sender = nullptr;
    rpc_port_stub_events_t events{};
    events.received = [](const rpc_port_stub_peer_t *, rpc_port_h port, void *data) {
        const std::string payload = payload_of(port);
        if (Sender *known = *static_cast<Sender **>(data))
            known->directions[0].deliver(payload);
        rpc_port_stub_send_raw(port, payload.data(), payload.size());
    };
    events.connected = [](const rpc_port_stub_peer_t *, void *) {};
    events.disconnected = [](const rpc_port_stub_peer_t *, void *) {};
    rpc_port_stub_h stub = nullptr;
    must(rpc_port_stub_create(&stub, appid, port_name, &events, &sender) == 0 && rpc_port_stub_listen(stub) == 0,
         "the stub does not listen");
    Sender application{connected_socket(), connected_socket()};
    if (shakes_hands) {
        application.send(0, handshake_request(0));
        application.send(1, handshake_request(1));
        run_ready_sources();
        application.directions[0] = {};
        sender = &application; // otherwise the input decides which link is the main one
    }
    while (!input.at_end()) {
        application.act(input);
        run_ready_sources();
    }
    application.close();
    run_ready_sources();
    rpc_port_stub_destroy(stub);
    run_ready_sources();
}

// ---- the application's end -------------------------------------------------------------------------------------------

std::string handshake_reply()
{
    return frame("VKPR" + u32(1) + u32(0));
}

struct Application {
    rpc_port_proxy_h proxy = nullptr;
    Sender *agent = nullptr;
    bool is_connected = false;
};

/// A request, whose reply is the next frame on the main link if there is one.
void call(Application &application)
{
    rpc_port_h main = nullptr;
    rpc_port_parcel_h parcel = nullptr;
    if (!application.is_connected || rpc_port_proxy_get_port(application.proxy, RPC_PORT_PORT_MAIN, &main) != 0)
        return;
    rpc_port_parcel_create(&parcel);
    rpc_port_parcel_write_int32(parcel, 2);
    rpc_port_parcel_send(parcel, main);
    rpc_port_parcel_destroy(parcel);
    if (rpc_port_parcel_create_from_port(&parcel, main) != 0)
        return;
    const void *bytes = nullptr;
    std::size_t size = 0;
    rpc_port_parcel_get_raw(parcel, &bytes, &size);
    application.agent->directions[0].deliver({static_cast<const char *>(bytes), size});
    rpc_port_parcel_destroy(parcel);
}

void begin_to_connect(Application &application)
{
    rpc_port_proxy_create(&application.proxy);
    rpc_port_proxy_add_connected_event_cb(
        application.proxy,
        [](const char *, const char *, rpc_port_h, void *data) {
            auto &self = *static_cast<Application *>(data);
            self.is_connected = true;
            self.agent->directions[0].delivered = handshake_reply().size();
        },
        &application);
    rpc_port_proxy_add_disconnected_event_cb(
        application.proxy,
        [](const char *, const char *, void *data) { static_cast<Application *>(data)->is_connected = false; },
        &application);
    rpc_port_proxy_add_rejected_event_cb(
        application.proxy, [](const char *, const char *, void *) {}, nullptr);
    rpc_port_proxy_add_received_event_cb(
        application.proxy,
        [](const char *, const char *, void *data) {
            const auto &self = *static_cast<Application *>(data);
            rpc_port_h callback = nullptr;
            rpc_port_proxy_get_port(self.proxy, RPC_PORT_PORT_CALLBACK, &callback);
            self.agent->directions[1].deliver(payload_of(callback));
        },
        &application);
    must(rpc_port_proxy_connect(application.proxy, appid, port_name) == 0, "the proxy does not begin to connect");
}

void test_proxy(FuzzInput &input, bool shakes_hands)
{
    const FileDescriptor listener = new_socket();
    const sockaddr_un place = address();
    ::unlink(place.sun_path);
    must(::bind(listener.get(), reinterpret_cast<const sockaddr *>(&place), sizeof place) == 0 &&
             ::listen(listener.get(), 2) == 0,
         "no listener");
    Application application;
    begin_to_connect(application);
    run_ready_sources();
    FileDescriptor main{::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK)};
    FileDescriptor callback{::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK)};
    must(main.is_open() && callback.is_open(), "the proxy opens two links");
    Sender agent{std::move(main), std::move(callback)};
    application.agent = &agent;
    if (shakes_hands)
        agent.send(0, handshake_reply());
    run_ready_sources();
    while (!input.at_end()) {
        agent.act(input);
        run_ready_sources();
        if (input.below(2) == 1)
            call(application);
    }
    agent.close();
    run_ready_sources();
    rpc_port_proxy_destroy(application.proxy);
    run_ready_sources();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    socket_path();
    FuzzInput input{data, size};
    const unsigned kind = input.byte();
    const bool shakes_hands = (kind & 2) != 0;
    if ((kind & 1) != 0)
        test_stub(input, shakes_hands);
    else
        test_proxy(input, shakes_hands);
    return 0;
}
