// SPDX-License-Identifier: Apache-2.0
//
// From rpc_port_proxy_connect to `connected` or `rejected`: two links to the agent's socket, the handshake requests,
// the reply. If no agent listens, the agent is started first.
#include <fcntl.h>
#include <last_result.h>
#include <sys/random.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "platform/host/log/log.hpp"
#include "platform/host/ports/links/credentials.hpp"
#include "platform/host/ports/links/polling.hpp"
#include "platform/host/ports/links/timeouts.hpp"
#include "platform/host/ports/runtime/agent_start.hpp"
#include "proxy.hpp"

namespace kv::host {
namespace {

constexpr gint64 retry_after_us = 10000;
// The time for which an attempt continues after the agent that it started has ended: another one may be about to listen.
constexpr gint64 agent_end_grace_us = 50000;

struct Links {
    Fd main;
    Fd callback;
};

/// Never blocks: a full backlog gives -EAGAIN.
int open_link(const PortPaths &paths, Fd *link)
{
    Fd descriptor{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    if (!descriptor)
        return -errno;
    int result;
    do {
        result = connect(descriptor.get(), reinterpret_cast<const sockaddr *>(&paths.socket), sizeof paths.socket);
    } while (result != 0 && errno == EINTR);
    if (result != 0)
        return -errno;
    *link = std::move(descriptor);
    return 0;
}

int open_links(const PortPaths &paths, Links *links)
{
    const int code = open_link(paths, &links->main);
    return code != 0 ? code : open_link(paths, &links->callback);
}

bool is_not_listening(int code)
{
    return code == -ENOENT || code == -ECONNREFUSED;
}

/// Whether a later attempt may succeed, because the process or the system has no descriptors or memory now.
bool is_shortage(int code)
{
    return code == -EMFILE || code == -ENFILE || code == -ENOBUFS || code == -ENOMEM;
}

/// Refuses a socket that another user has put in place, because requests carry secrets.
int check_agent(const Proxy *proxy, const Fd &link)
{
    PeerCredentials peer;
    if (const int code = read_credentials(link.get(), &peer))
        return code;
    if (is_own_or_root(peer) || is_member(link.get(), peer, package_group_id(proxy->appid.get())))
        return 0;
    dlog_print(log_error, log_tag,
               "port %s of %s is served by user %u (process %d), who is neither this user nor root nor in the "
               "package's group; not connecting",
               proxy->port_name.get(), proxy->appid.get(), peer.uid, peer.pid);
    return -EACCES;
}

void send_request(const Fd &link, uint8_t number, const HandshakeRequest &common)
{
    HandshakeRequest request = common;
    request.link = number;
    uint8_t bytes[max_request_size];
    const size_t size = write_handshake_request(bytes, request);
    // A new link accepts it whole. If the send fails the agent has closed the link, and a reply may say why.
    while (send(link.get(), bytes, size, MSG_NOSIGNAL) < 0 && errno == EINTR) {
    }
}

int send_requests(const Links &links)
{
    HandshakeRequest request = {};
    request.version = protocol_version;
    if (getrandom(request.token, token_size, 0) != static_cast<ssize_t>(token_size))
        return -EIO;
    strncpy(request.sender, program_invocation_short_name, max_sender);
    send_request(links.main, 0, request);
    send_request(links.callback, 1, request);
    return 0;
}

struct ProxySource {
    GSource base;
    Proxy *proxy;
};

// Received frames whose events were not raised yet need no ready descriptor. A ready time would serve as well, but each
// change of it wakes the loop: two more system calls.
gboolean has_pending_frame(GSource *source, gint *)
{
    const Proxy *proxy = reinterpret_cast<ProxySource *>(source)->proxy;
    return proxy->state == ProxyState::connected && port_has_pending_frame(&proxy->callback);
}

gboolean run_turn(GSource *source, GSourceFunc, gpointer)
{
    // The proxy is alive: destroying it destroys the source.
    Proxy *proxy = reinterpret_cast<ProxySource *>(source)->proxy;
    if (proxy->created_in != process_generation)
        return G_SOURCE_REMOVE; // a forked child runs its parent's loop, but the links are the parent's
    if (g_source_get_ready_time(source) != -1)
        g_source_set_ready_time(source, -1);
    const Ref<Proxy> alive{proxy};
    if (proxy->state == ProxyState::connected)
        proxy_serve(proxy);
    else
        proxy_continue_connecting(proxy);
    return G_SOURCE_CONTINUE;
}

GSourceFuncs source_functions = {has_pending_frame, nullptr, run_turn, nullptr, nullptr, nullptr};

void create_source(Proxy *proxy)
{
    GSource *source = g_source_new(&source_functions, sizeof(ProxySource));
    proxy->source.reset(source);
    reinterpret_cast<ProxySource *>(source)->proxy = proxy;
    g_source_set_static_name(source, "rpc port");
    // A callback that runs a loop of its own still gets the events that arrive meanwhile.
    g_source_set_can_recurse(source, TRUE);
    g_autoptr(GMainContext) context = g_main_context_ref_thread_default();
    g_source_attach(source, context);
    poll_in_context(context, proxy->polling_us);
}

/// Makes the loop notice the end of the agent's process.
void watch_agent_process(Proxy *proxy)
{
    if (proxy->agent_process && !proxy->process_watch)
        proxy->process_watch = g_source_add_unix_fd(proxy->source.get(), proxy->agent_process.get(), G_IO_IN);
}

void forget_agent_process(Proxy *proxy)
{
    if (proxy->process_watch)
        g_source_remove_unix_fd(proxy->source.get(), proxy->process_watch);
    proxy->process_watch = nullptr;
    proxy->agent_process.reset();
}

/// Shortens the deadline if the process of the agent has ended.
void check_agent_process(Proxy *proxy)
{
    if (!proxy->process_watch || g_source_query_unix_fd(proxy->source.get(), proxy->process_watch) == 0)
        return;
    forget_agent_process(proxy);
    proxy->agent_ended = true;
    const gint64 deadline = g_get_monotonic_time() + agent_end_grace_us;
    if (deadline < proxy->deadline)
        proxy->deadline = deadline;
}

void wait_for_reply(Proxy *proxy, Links links)
{
    forget_agent_process(proxy); // from here on the end of the link shows the end of the agent
    const char *name = proxy->port_name.get();
    port_open(&proxy->main, std::move(links.main), PortRole::caller_main, &proxy->callback, name);
    port_open(&proxy->callback, std::move(links.callback), PortRole::caller_callback, &proxy->main, name);
    proxy->state = ProxyState::handshaking;
    proxy->reply_received = 0;
    proxy->main_watch = g_source_add_unix_fd(proxy->source.get(), proxy->main.fd.get(), G_IO_IN);
    proxy->callback_watch = g_source_add_unix_fd(proxy->source.get(), proxy->callback.fd.get(), G_IO_HUP);
    g_source_set_ready_time(proxy->source.get(), proxy->deadline);
}

void reject(Proxy *proxy, int result)
{
    proxy_close(proxy);
    set_last_result(result);
    if (proxy->rejected.function)
        proxy->rejected.function(proxy->appid.get(), proxy->port_name.get(), proxy->rejected.data);
}

/// Starts the agent if this process gets the lock. Of all processes that find no agent one gets it; the others wait for
/// the socket.
int start_once(Proxy *proxy)
{
    if (proxy->started || !proxy->startable)
        return proxy->startable ? 0 : -EIO;
    const int code = take_lock(proxy->paths.starting_lock, &proxy->starting_lock);
    if (code == -EWOULDBLOCK)
        return 0;
    if (code < 0)
        return code;
    proxy->started = true;
    // The previous holder of the lock may have started the agent since this process looked.
    Links links;
    if (!is_not_listening(open_links(proxy->paths, &links)))
        return 0;
    const int result = start_agent(proxy->appid.get(), &proxy->agent_process);
    if (is_shortage(result)) {
        proxy->started = false;
        proxy->starting_lock.reset();
    }
    return result;
}

/// Returns 0 if an agent is being started, else the result of rpc_port_proxy_connect.
int start_if_possible(Proxy *proxy)
{
    proxy->startable = agent_is_startable(proxy->appid.get());
    if (!proxy->startable) {
        dlog_print(log_error, log_tag,
                   "cannot connect to port %s of %s: no agent listens at %s, and the package entry names no executable "
                   "to start",
                   proxy->port_name.get(), proxy->appid.get(), proxy->paths.socket.sun_path);
        return -EIO;
    }
    int code = create_runtime_directory(proxy->paths.directory, no_group);
    if (code == 0)
        code = start_once(proxy);
    return code == 0 || code == -EACCES || is_shortage(code) ? code : -EIO;
}

void become_connected(Proxy *proxy)
{
    forget_agent_process(proxy);
    proxy->starting_lock.reset();
    proxy->state = ProxyState::connected;
    Port &main = proxy->main;
    main.timeout_ms = reply_timeout_ms();
    main.polling_us = proxy->polling_us;
    main.sent_at_ms = coarse_now_ms();
    // From here on calls use the main link. A receive blocks, and the system bounds the wait.
    timeval limit = {main.timeout_ms / 1000, main.timeout_ms % 1000 * 1000};
    setsockopt(main.fd.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    fcntl(main.fd.get(), F_SETFL, 0);
    // The loop watches the main link only for its end.
    GSource *source = proxy->source.get();
    g_source_modify_unix_fd(source, proxy->main_watch, G_IO_HUP);
    g_source_modify_unix_fd(source, proxy->callback_watch, G_IO_IN);
    main.source = source;
    proxy->callback.source = source;
    dlog_print(log_info, log_tag, "port %s of %s: connected", proxy->port_name.get(), proxy->appid.get());
    if (proxy->connected.function)
        proxy->connected.function(proxy->appid.get(), proxy->port_name.get(), &main, proxy->connected.data);
}

bool deadline_has_passed(const Proxy *proxy)
{
    return g_get_monotonic_time() >= proxy->deadline;
}

void retry_soon(Proxy *proxy)
{
    g_source_set_ready_time(proxy->source.get(), g_get_monotonic_time() + retry_after_us);
}

/// Checks the agent behind the links and sends the requests.
int begin_handshake(Proxy *proxy, const Links &links)
{
    const int code = check_agent(proxy, links.main);
    return code != 0 ? code : send_requests(links);
}

void log_missing_agent(const Proxy *proxy)
{
    const char *port_name = proxy->port_name.get();
    const char *appid = proxy->appid.get();
    if (proxy->agent_ended)
        dlog_print(
            log_error, log_tag,
            "port %s of %s: the agent that was started ended before it listened at %s; run the executable of the "
            "package entry in a terminal to see why",
            port_name, appid, proxy->paths.socket.sun_path);
    else if (proxy->shortage != 0)
        dlog_print(log_error, log_tag, "port %s of %s: cannot connect within %d ms (KORVANE_CONNECT_TIMEOUT_MS): %s",
                   port_name, appid, proxy->timeout_ms, strerror(proxy->shortage));
    else
        dlog_print(log_error, log_tag, "port %s of %s: no agent listens at %s after %d ms (KORVANE_CONNECT_TIMEOUT_MS)",
                   port_name, appid, proxy->paths.socket.sun_path, proxy->timeout_ms);
}

void retry(Proxy *proxy)
{
    check_agent_process(proxy);
    Links links;
    int code = open_links(proxy->paths, &links);
    if (code == 0) {
        code = begin_handshake(proxy, links);
        if (code == 0)
            return wait_for_reply(proxy, std::move(links));
    } else if (is_not_listening(code) && proxy->startable) {
        code = start_once(proxy);
        watch_agent_process(proxy);
    } else if (code == -EAGAIN || is_not_listening(code)) {
        code = 0;
    }
    proxy->shortage = is_shortage(code) ? -code : 0;
    if (proxy->shortage != 0)
        code = 0;
    if (code == 0 && deadline_has_passed(proxy)) {
        log_missing_agent(proxy);
        code = -ETIMEDOUT;
    }
    if (code != 0)
        reject(proxy, -EIO);
    else
        retry_soon(proxy);
}

void receive_reply(Proxy *proxy)
{
    ssize_t received;
    do {
        received = recv(proxy->main.fd.get(), proxy->reply + proxy->reply_received, reply_size - proxy->reply_received,
                        MSG_DONTWAIT);
    } while (received < 0 && errno == EINTR);
    const bool nothing = received < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
    // An agent that has lost the callback link never replies. One that refuses replies before it closes the links.
    const bool callback_ended = g_source_query_unix_fd(proxy->source.get(), proxy->callback_watch) != 0;
    if (nothing && !callback_ended && !deadline_has_passed(proxy)) {
        g_source_set_ready_time(proxy->source.get(), proxy->deadline);
        return;
    }
    const char *port_name = proxy->port_name.get();
    const char *appid = proxy->appid.get();
    if (received <= 0) {
        dlog_print(log_error, log_tag, "port %s of %s: %s", port_name, appid,
                   nothing && !callback_ended ? "the agent does not reply to the handshake (KORVANE_CONNECT_TIMEOUT_MS)"
                                              : "the agent closed the link during the handshake");
        return reject(proxy, -EIO);
    }
    proxy->reply_received += static_cast<size_t>(received);
    HandshakeReply reply = {};
    const Parsed parsed = read_handshake_reply(proxy->reply, proxy->reply_received, &reply);
    if (parsed == Parsed::incomplete) {
        g_source_set_ready_time(proxy->source.get(), proxy->deadline);
    } else if (parsed == Parsed::malformed || reply.version != protocol_version) {
        dlog_print(log_error, log_tag,
                   "port %s of %s: the program that listens there does not speak version %u of the protocol", port_name,
                   appid, protocol_version);
        reject(proxy, -EIO);
    } else if (reply.code != 0) {
        dlog_print(log_error, log_tag, "port %s of %s: the agent refused the connection (%d)", port_name, appid,
                   reply.code);
        reject(proxy, -EACCES);
    } else {
        become_connected(proxy);
    }
}

} // namespace

int proxy_begin(Proxy *proxy)
{
    if (const int code = find_port_paths(proxy->appid.get(), proxy->port_name.get(), &proxy->paths))
        return code;
    proxy->created_in = process_generation;
    proxy->started = false;
    proxy->startable = false;
    proxy->agent_ended = false;
    proxy->timeout_ms = connect_timeout_ms();
    proxy->polling_us = polling_time_us();
    proxy->deadline = g_get_monotonic_time() + gint64{1000} * proxy->timeout_ms;
    Links links;
    int code = open_links(proxy->paths, &links);
    const bool listening = code == 0;
    if (listening) {
        code = begin_handshake(proxy, links);
    } else if (is_not_listening(code)) {
        code = start_if_possible(proxy);
    } else if (code == -EAGAIN) {
        code = 0; // the agent is there, but its backlog is full
    } else if (!is_shortage(code)) {
        dlog_print(log_error, log_tag, "cannot connect to %s: %s", proxy->paths.socket.sun_path, strerror(-code));
        code = code == -EPERM ? -EACCES : code;
    }
    if (!listening && is_shortage(code))
        code = 0; // the loop tries again to start the agent
    if (code != 0) {
        proxy->starting_lock.reset();
        return code;
    }
    create_source(proxy);
    watch_agent_process(proxy);
    if (listening) {
        wait_for_reply(proxy, std::move(links));
    } else {
        proxy->state = ProxyState::waiting;
        retry_soon(proxy);
    }
    return 0;
}

void proxy_continue_connecting(Proxy *proxy)
{
    if (proxy->state == ProxyState::waiting)
        retry(proxy);
    else
        receive_reply(proxy);
}

void proxy_close(Proxy *proxy)
{
    port_close(&proxy->main);
    port_close(&proxy->callback);
    if (proxy->source)
        forget_agent_process(proxy);
    proxy->starting_lock.reset();
    proxy->state = ProxyState::idle;
    proxy->main_watch = nullptr;
    proxy->callback_watch = nullptr;
    proxy->source.reset();
}

} // namespace kv::host
