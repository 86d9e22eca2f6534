// SPDX-License-Identifier: Apache-2.0
// The control API over HTTP. The first byte says whether the connection becomes a WebSocket before the input; the rest are
// bytes of a client, in pieces whose length precedes them. The agent may reply or close, but must not wait for the client.

#include "agent/control/http/http.hpp"
#include "fuzz_agent.hpp"
#include "fuzz_input.hpp"
#include "testing/support/file_descriptor.hpp"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace kv::virtual_agent;

// libsoup 3.2 does not free the path of a request whose head is malformed. The leak is recognised by the function that
// allocates, which only the slow unwinder finds.
extern "C" [[gnu::visibility("default")]] const char *__lsan_default_suppressions();
extern "C" [[gnu::visibility("default")]] const char *__asan_default_options();
const char *__lsan_default_suppressions()
{
    return "leak:soup_headers_parse_request\n";
}
const char *__asan_default_options()
{
    return "fast_unwind_on_malloc=0";
}

namespace {

constexpr const char *upgrade =
    "GET /v1/stream?since=1 HTTP/1.1\r\nHost: agent\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
    "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n";

kv::test::FileDescriptor connect_to(const std::string &path)
{
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    path.copy(place.sun_path, sizeof place.sun_path - 1);
    kv::test::FileDescriptor client{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    must(::connect(client.get(), reinterpret_cast<const sockaddr *>(&place), sizeof place) == 0,
         "the agent does not listen");
    return client;
}

/// Discards what the agent has sent.
void read_all(const kv::test::FileDescriptor &client)
{
    char bytes[65536];
    while (::recv(client.get(), bytes, sizeof bytes, MSG_DONTWAIT) > 0)
        continue;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput input{data, size};
    const std::string path = FuzzAgent::directory() / "control";
    {
        FuzzAgent fuzzed;
        HttpControl http{fuzzed.agent};
        http.serve_path(path);
        const kv::test::FileDescriptor client = connect_to(path);
        const auto send = [&client](const std::string &bytes) {
            if (::send(client.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0)
                return;
            FuzzAgent::run_ready_sources();
            read_all(client);
        };
        if (input.byte() & 1)
            send(upgrade);
        while (!input.at_end())
            send(input.text());
        ::shutdown(client.get(), SHUT_WR);
        FuzzAgent::run_ready_sources();
        read_all(client);
        FuzzAgent::run_ready_sources();
    }
    ::unlink(path.c_str());
    return 0;
}
