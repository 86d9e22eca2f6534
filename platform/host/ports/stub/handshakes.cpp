// SPDX-License-Identifier: Apache-2.0
//
// Accepted links until two of them make a peer: credentials, the request of each, and the timeout.
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/host/log/log.hpp"
#include "stub.hpp"

namespace kv::host {
namespace {

// The max number of links without a complete handshake. A proxy has two for a moment; a process may open hundreds at once.
// Beyond the limit the oldest link is closed for a new one, so that other programs and other users can still connect.
constexpr unsigned max_handshakes_of_process = 512;
constexpr unsigned max_handshakes_of_user = 768;
constexpr unsigned max_handshakes = 1024;

constexpr gint64 limit_log_interval_us = 1000000;

/// Takes a handshake out of the stub's list.
Owned<Handshake> remove(Handshake *handshake)
{
    Stub *stub = handshake->stub;
    Owned<Handshake> *place = &stub->handshakes;
    while (place->get() != handshake)
        place = &(*place)->next;
    Owned<Handshake> removed = std::move(*place);
    *place = std::move(removed->next);
    stub->handshake_count--;
    return removed;
}

void close_link(Handshake *handshake, const char *reason)
{
    const Owned<Handshake> closed = remove(handshake);
    if (reason)
        dlog_print(log_error, log_tag, "port %s of %s: process %d (user %u) %s; closing its link",
                   closed->stub->port_name.get(), closed->stub->appid.get(), closed->credentials.pid,
                   closed->credentials.uid, reason);
}

Handshake *find_other_link(const Handshake *one)
{
    for (Handshake *other = one->stub->handshakes.get(); other; other = other->next.get())
        if (other->has_request && other != one && other->request.link != one->request.link &&
            other->credentials.pid == one->credentials.pid && other->credentials.uid == one->credentials.uid &&
            memcmp(other->request.token, one->request.token, token_size) == 0)
            return other;
    return nullptr;
}

void admit_if_complete(Handshake *handshake)
{
    Handshake *other_link = find_other_link(handshake);
    if (!other_link)
        return;
    const Owned<Handshake> one = remove(handshake);
    const Owned<Handshake> other = remove(other_link);
    Handshake &main = one->request.link == 0 ? *one : *other;
    Handshake &callback = one->request.link == 0 ? *other : *one;
    // Nothing of them may run while the agent's callbacks do.
    main.source.reset();
    callback.source.reset();
    peer_admit(one->stub, std::move(main.link), std::move(callback.link), one->credentials, one->request.sender);
}

void receive_request(Handshake *handshake)
{
    ssize_t received;
    do {
        received = recv(handshake->link.get(), handshake->bytes + handshake->received,
                        sizeof handshake->bytes - handshake->received, MSG_DONTWAIT);
    } while (received < 0 && errno == EINTR);
    if (received < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
        return;
    if (received <= 0)
        return close_link(handshake, nullptr); // the peer has closed it
    handshake->received += static_cast<size_t>(received);
    switch (read_handshake_request(handshake->bytes, handshake->received, &handshake->request)) {
    case Parsed::incomplete: return;
    case Parsed::malformed: return close_link(handshake, "does not send the handshake of a proxy");
    case Parsed::whole: break;
    }
    if (handshake->request.version != protocol_version) {
        send_handshake_reply(handshake->link, -EPROTONOSUPPORT);
        return close_link(handshake, "uses another version of the protocol");
    }
    handshake->has_request = true;
    admit_if_complete(handshake);
}

struct HandshakeSource {
    GSource base;
    Handshake *handshake;
};

gboolean run_handshake_turn(GSource *source, GSourceFunc, gpointer)
{
    Handshake *handshake = reinterpret_cast<HandshakeSource *>(source)->handshake;
    if (handshake->stub->listens_in != process_generation)
        return G_SOURCE_REMOVE;
    const Ref<Stub> alive{handshake->stub};
    if (g_source_query_unix_fd(source, handshake->watch) != 0) {
        // A proxy sends nothing between its request and the reply, so the peer has closed the link.
        if (handshake->has_request)
            close_link(handshake, nullptr);
        else
            receive_request(handshake);
    } else if (g_get_monotonic_time() >= handshake->deadline) {
        close_link(handshake, handshake->has_request ? "opened only one of two links"
                                                     : "sends no handshake (KORVANE_CONNECT_TIMEOUT_MS)");
    }
    return G_SOURCE_CONTINUE;
}

GSourceFuncs handshake_source_functions = {nullptr, nullptr, run_handshake_turn, nullptr, nullptr, nullptr};

void create_source(Handshake *handshake)
{
    GSource *source = g_source_new(&handshake_source_functions, sizeof(HandshakeSource));
    handshake->source.reset(source);
    reinterpret_cast<HandshakeSource *>(source)->handshake = handshake;
    g_source_set_static_name(source, "rpc port handshake");
    handshake->watch = g_source_add_unix_fd(source, handshake->link.get(), G_IO_IN);
    g_source_set_ready_time(source, handshake->deadline);
    g_source_attach(source, handshake->stub->context);
}

/// Finds the link to close before a new one of this peer is added; null if no limit is reached.
Handshake *find_link_over_limit(const Stub *stub, const PeerCredentials &peer)
{
    unsigned of_process = 0;
    unsigned of_user = 0;
    Handshake *oldest = nullptr;
    Handshake *oldest_of_user = nullptr;
    Handshake *oldest_of_process = nullptr;
    for (Handshake *each = stub->handshakes.get(); each; each = each->next.get()) {
        oldest = each;
        if (each->credentials.uid != peer.uid)
            continue;
        of_user++;
        oldest_of_user = each;
        if (each->credentials.pid != peer.pid)
            continue;
        of_process++;
        oldest_of_process = each;
    }
    if (of_process >= max_handshakes_of_process)
        return oldest_of_process;
    if (of_user >= max_handshakes_of_user)
        return oldest_of_user;
    return stub->handshake_count >= max_handshakes ? oldest : nullptr;
}

/// Logs at most once a second, because a peer could otherwise fill the log.
void log_limit(Stub *stub, const PeerCredentials &peer)
{
    const gint64 now = g_get_monotonic_time();
    if (stub->limit_logged_at != 0 && now - stub->limit_logged_at < limit_log_interval_us)
        return;
    stub->limit_logged_at = now;
    dlog_print(log_error, log_tag,
               "port %s of %s: process %d (user %u) has too many links without a handshake; closing the oldest",
               stub->port_name.get(), stub->appid.get(), peer.pid, peer.uid);
}

void add(Stub *stub, Fd link, const PeerCredentials &credentials)
{
    if (Handshake *over_limit = find_link_over_limit(stub, credentials)) {
        log_limit(stub, over_limit->credentials);
        close_link(over_limit, nullptr);
    }
    Owned<Handshake> added = make<Handshake>();
    if (!added) {
        dlog_print(log_error, log_tag, "port %s of %s: out of memory; closing a link of process %d",
                   stub->port_name.get(), stub->appid.get(), credentials.pid);
        return;
    }
    Handshake *handshake = added.get();
    handshake->stub = stub;
    handshake->link = std::move(link);
    handshake->credentials = credentials;
    handshake->deadline = g_get_monotonic_time() + gint64{1000} * stub->timeout_ms;
    added->next = std::move(stub->handshakes);
    stub->handshakes = std::move(added);
    stub->handshake_count++;
    create_source(handshake);
}

} // namespace

void handshake_begin(Stub *stub, Fd link)
{
    PeerCredentials credentials;
    if (read_credentials(link.get(), &credentials) != 0)
        return;
    if (is_own_or_root(credentials) || is_member(link.get(), credentials, stub->group)) {
        add(stub, std::move(link), credentials);
        return;
    }
    dlog_print(log_error, log_tag,
               "port %s of %s: refused process %d of user %u: only user %u, root and the package's group may connect",
               stub->port_name.get(), stub->appid.get(), credentials.pid, credentials.uid, geteuid());
    send_handshake_reply(link, -EACCES);
}

} // namespace kv::host
