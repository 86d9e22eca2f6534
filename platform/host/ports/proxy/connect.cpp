// SPDX-License-Identifier: Apache-2.0
//
// From rpc_port_proxy_connect to `connected` or `rejected`: two links to the agent's socket, the greeting, the answer;
// before that, if nobody listens there, the start of the agent.
#include <errno.h>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <initializer_list>

#include "platform/host/log/log.hpp"
#include "platform/host/ports/links/credentials.hpp"
#include "platform/host/ports/links/timeouts.hpp"
#include "platform/host/ports/runtime/agent_start.hpp"
#include "proxy.hpp"
#include <last_result.h>

namespace kv::host {
namespace {

constexpr gint64 retry_after_us = 10000;

struct Links {
    int main = -1;
    int callback = -1;

    void close_both()
    {
        for (int *link : {&main, &callback}) {
            if (*link >= 0)
                close(*link);
            *link = -1;
        }
    }
};

// Never blocks: a full backlog answers -EAGAIN.
int open_link(const PortPlace &place, int *link)
{
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0)
        return -errno;
    int result;
    do {
        result = connect(descriptor, reinterpret_cast<const sockaddr *>(&place.socket), sizeof place.socket);
    } while (result != 0 && errno == EINTR);
    if (result != 0) {
        const int code = -errno;
        close(descriptor);
        return code;
    }
    *link = descriptor;
    return 0;
}

int open_links(const PortPlace &place, Links *links)
{
    int code = open_link(place, &links->main);
    if (code == 0)
        code = open_link(place, &links->callback);
    if (code != 0)
        links->close_both();
    return code;
}

bool nobody_listens(int code)
{
    return code == -ENOENT || code == -ECONNREFUSED;
}

// A socket that a stranger put there must not get the application's requests.
int check_agent(const Proxy *proxy, int link)
{
    PeerCredentials peer;
    if (const int code = read_credentials(link, &peer))
        return code;
    if (is_own_or_root(peer) || is_member(link, peer, package_group_id(proxy->appid)))
        return 0;
    dlog_print(
        log_error, log_tag,
        "port %s of %s is served by user %u (process %d), who is neither this user nor root nor in the package's "
        "group: not connected",
        proxy->port_name, proxy->appid, peer.uid, peer.pid);
    return -EACCES;
}

void greet(int link, uint8_t which, const Hello &common)
{
    Hello hello = common;
    hello.link = which;
    uint8_t bytes[longest_hello];
    const size_t size = write_hello(bytes, hello);
    // A fresh link takes it whole. If it fails the agent has closed, perhaps after a refusal that is still to be read.
    while (send(link, bytes, size, MSG_NOSIGNAL) < 0 && errno == EINTR) {
    }
}

int greet_on(const Links &links)
{
    Hello hello = {};
    hello.version = hello_version;
    if (getrandom(hello.token, token_size, 0) != static_cast<ssize_t>(token_size))
        return -EIO;
    strncpy(hello.sender, program_invocation_short_name, longest_sender);
    greet(links.main, 0, hello);
    greet(links.callback, 1, hello);
    return 0;
}

struct ProxySource {
    GSource base;
    Proxy *proxy;
};

// Parcels that were received and not yet told of need no descriptor to be ready. A ready time would say so, too, but
// each setting of it wakes the loop through its own descriptor: two system calls more.
gboolean has_news(GSource *source, gint *)
{
    const Proxy *proxy = reinterpret_cast<ProxySource *>(source)->proxy;
    return proxy->state == ProxyState::connected && port_has_news(&proxy->callback);
}

gboolean run_turn(GSource *source, GSourceFunc, gpointer)
{
    // Whoever has destroyed the proxy has destroyed the source, too, so the proxy behind it is alive.
    Proxy *proxy = reinterpret_cast<ProxySource *>(source)->proxy;
    if (proxy->made_in != process_generation)
        return G_SOURCE_REMOVE; // a forked child runs the parent's loop: the links are not its own
    if (g_source_get_ready_time(source) != -1)
        g_source_set_ready_time(source, -1);
    proxy_hold(proxy);
    if (proxy->state == ProxyState::connected)
        proxy_serve(proxy);
    else
        proxy_continue_connecting(proxy);
    proxy_release(proxy);
    return G_SOURCE_CONTINUE;
}

GSourceFuncs source_functions = {has_news, nullptr, run_turn, nullptr, nullptr, nullptr};

void make_source(Proxy *proxy)
{
    proxy->source = g_source_new(&source_functions, sizeof(ProxySource));
    reinterpret_cast<ProxySource *>(proxy->source)->proxy = proxy;
    g_source_set_static_name(proxy->source, "rpc port");
    // A callback that runs a loop of its own still gets the events that arrive meanwhile.
    g_source_set_can_recurse(proxy->source, TRUE);
    GMainContext *context = g_main_context_ref_thread_default();
    g_source_attach(proxy->source, context);
    g_main_context_unref(context);
}

void await_answer(Proxy *proxy, const Links &links)
{
    port_open(&proxy->main, links.main, PortRole::caller_main, &proxy->callback, proxy->port_name);
    port_open(&proxy->callback, links.callback, PortRole::caller_callback, &proxy->main, proxy->port_name);
    proxy->state = ProxyState::greeting;
    proxy->answered = 0;
    proxy->main_watch = g_source_add_unix_fd(proxy->source, links.main, G_IO_IN);
    g_source_set_ready_time(proxy->source, proxy->gives_up_at);
}

void reject(Proxy *proxy, int result)
{
    proxy_close(proxy);
    set_last_result(result);
    if (proxy->rejected.function)
        proxy->rejected.function(proxy->appid, proxy->port_name, proxy->rejected.data);
}

void give_up_starting_lock(Proxy *proxy)
{
    if (proxy->starting_lock >= 0)
        close(proxy->starting_lock);
    proxy->starting_lock = -1;
}

// Of all processes that find the agent missing, the one that gets the lock starts it; the others wait for the socket.
int start_once(Proxy *proxy)
{
    if (proxy->started || !proxy->startable)
        return proxy->startable ? 0 : -EIO;
    const int lock = take_lock(proxy->place.starting_lock);
    if (lock == -EWOULDBLOCK)
        return 0;
    if (lock < 0)
        return lock;
    proxy->starting_lock = lock;
    proxy->started = true;
    Links links;
    // The lock's last holder may have brought the agent up since this process looked.
    if (!nobody_listens(open_links(proxy->place, &links))) {
        links.close_both();
        return 0;
    }
    return start_agent(proxy->appid);
}

// The code of rpc_port_proxy_connect when nobody listens: 0 when it is worth waiting.
int find_a_start(Proxy *proxy)
{
    proxy->startable = agent_is_startable(proxy->appid);
    if (!proxy->startable) {
        dlog_print(log_error, log_tag,
                   "nobody serves port %s of %s (no agent listens at %s), and its package names no executable to start",
                   proxy->port_name, proxy->appid, proxy->place.socket.sun_path);
        return -EIO;
    }
    int code = make_runtime_directory(proxy->place.directory, no_group);
    if (code == 0)
        code = start_once(proxy);
    return code == 0 || code == -EACCES ? code : -EIO;
}

void become_connected(Proxy *proxy)
{
    give_up_starting_lock(proxy);
    proxy->state = ProxyState::connected;
    proxy->main.timeout_ms = reply_timeout_ms();
    proxy->main.sent_at_ms = coarse_now_ms();
    // From here the main link is used by calls, which block: the system keeps their time.
    timeval limit = {proxy->main.timeout_ms / 1000, proxy->main.timeout_ms % 1000 * 1000};
    setsockopt(proxy->main.fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    setsockopt(proxy->main.fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    fcntl(proxy->main.fd, F_SETFL, 0);
    // The loop looks at the main link only for its end.
    g_source_modify_unix_fd(proxy->source, proxy->main_watch, G_IO_HUP);
    proxy->callback_watch = g_source_add_unix_fd(proxy->source, proxy->callback.fd, G_IO_IN);
    proxy->main.source = proxy->source;
    proxy->callback.source = proxy->source;
    dlog_print(log_info, log_tag, "port %s of %s: connected", proxy->port_name, proxy->appid);
    if (proxy->connected.function)
        proxy->connected.function(proxy->appid, proxy->port_name, &proxy->main, proxy->connected.data);
}

bool is_late(const Proxy *proxy)
{
    return g_get_monotonic_time() >= proxy->gives_up_at;
}

void try_again(Proxy *proxy)
{
    Links links;
    int code = open_links(proxy->place, &links);
    if (code == 0) {
        code = check_agent(proxy, links.main);
        if (code == 0)
            code = greet_on(links);
        if (code == 0) {
            await_answer(proxy, links);
            return;
        }
        links.close_both();
    } else if (nobody_listens(code) && proxy->startable) {
        code = start_once(proxy);
    } else if (code == -EAGAIN || nobody_listens(code)) {
        code = 0;
    }
    if (code == 0 && is_late(proxy)) {
        dlog_print(log_error, log_tag, "port %s of %s: no agent listens at %s after %d ms", proxy->port_name,
                   proxy->appid, proxy->place.socket.sun_path, proxy->timeout_ms);
        code = -ETIMEDOUT;
    }
    if (code != 0)
        reject(proxy, -EIO);
    else
        g_source_set_ready_time(proxy->source, g_get_monotonic_time() + retry_after_us);
}

void read_agent_answer(Proxy *proxy)
{
    ssize_t got;
    do {
        got = recv(proxy->main.fd, proxy->answer + proxy->answered, answer_size - proxy->answered, MSG_DONTWAIT);
    } while (got < 0 && errno == EINTR);
    const bool nothing = got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
    if (nothing && !is_late(proxy)) {
        g_source_set_ready_time(proxy->source, proxy->gives_up_at);
        return;
    }
    if (got <= 0) {
        dlog_print(log_error, log_tag, "port %s of %s: %s", proxy->port_name, proxy->appid,
                   nothing ? "the agent does not answer the greeting (KORVANE_CONNECT_TIMEOUT_MS)"
                           : "the agent closed the link instead of answering the greeting");
        return reject(proxy, -EIO);
    }
    proxy->answered += static_cast<size_t>(got);
    Answer answer = {};
    const Parsed parsed = read_answer(proxy->answer, proxy->answered, &answer);
    if (parsed == Parsed::incomplete) {
        g_source_set_ready_time(proxy->source, proxy->gives_up_at);
    } else if (parsed == Parsed::malformed || answer.version != hello_version) {
        dlog_print(log_error, log_tag, "port %s of %s: what listens there does not speak this protocol (version %u)",
                   proxy->port_name, proxy->appid, hello_version);
        reject(proxy, -EIO);
    } else if (answer.code != 0) {
        dlog_print(log_error, log_tag, "port %s of %s: the agent refused the connection (%d)", proxy->port_name,
                   proxy->appid, answer.code);
        reject(proxy, -EACCES);
    } else {
        become_connected(proxy);
    }
}

} // namespace

int proxy_begin(Proxy *proxy)
{
    if (const int code = find_port_place(proxy->appid, proxy->port_name, &proxy->place))
        return code;
    proxy->made_in = process_generation;
    proxy->started = false;
    proxy->startable = false;
    proxy->timeout_ms = connect_timeout_ms();
    proxy->gives_up_at = g_get_monotonic_time() + gint64{1000} * proxy->timeout_ms;
    Links links;
    int code = open_links(proxy->place, &links);
    const bool listening = code == 0;
    if (listening) {
        code = check_agent(proxy, links.main);
        if (code == 0)
            code = greet_on(links);
    } else if (nobody_listens(code)) {
        code = find_a_start(proxy);
    } else if (code == -EAGAIN) {
        code = 0; // a full backlog: the agent is there
    } else {
        dlog_print(log_error, log_tag, "cannot connect to %s: %s", proxy->place.socket.sun_path, strerror(-code));
        code = code == -EPERM ? -EACCES : code;
    }
    if (code != 0) {
        links.close_both();
        give_up_starting_lock(proxy);
        return code;
    }
    make_source(proxy);
    if (listening) {
        await_answer(proxy, links);
    } else {
        proxy->state = ProxyState::waiting;
        g_source_set_ready_time(proxy->source, g_get_monotonic_time() + retry_after_us);
    }
    return 0;
}

void proxy_continue_connecting(Proxy *proxy)
{
    if (proxy->state == ProxyState::waiting)
        try_again(proxy);
    else
        read_agent_answer(proxy);
}

void proxy_close(Proxy *proxy)
{
    port_close(&proxy->main);
    port_close(&proxy->callback);
    give_up_starting_lock(proxy);
    proxy->state = ProxyState::idle;
    proxy->main_watch = nullptr;
    proxy->callback_watch = nullptr;
    if (proxy->source) {
        g_source_destroy(proxy->source);
        g_source_unref(proxy->source);
        proxy->source = nullptr;
    }
}

} // namespace kv::host
