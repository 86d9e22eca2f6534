// SPDX-License-Identifier: Apache-2.0
//
// The socket file, who may connect to it, and the greeting of each link until two of them make a peer.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/host/log/log.hpp"
#include "platform/host/ports/links/timeouts.hpp"
#include "stub.hpp"

namespace kv::host {

/// A link that was accepted and does not belong to a peer yet.
struct Greeting {
    Stub *stub;
    Greeting *next;
    int link;
    PeerCredentials credentials;
    gint64 gives_up_at;
    GSource *source;
    void *watch;
    bool heard;
    Hello hello;
    size_t size;
    uint8_t bytes[longest_hello];
};

namespace {

constexpr int most_accepts_per_turn = 64;
constexpr unsigned most_greetings = 1024;
constexpr gint64 accept_pause_us = 100000;

int fail(const Stub *stub, const char *what)
{
    const int error = errno;
    dlog_print(log_error, log_tag, "port %s of %s: %s %s: %s", stub->port_name, stub->appid, what,
               stub->place.socket.sun_path, strerror(error));
    return -error;
}

// Forgets a greeting; its link is the caller's, who closes it or goes on with it.
int end_greeting(Greeting *greeting)
{
    Stub *stub = greeting->stub;
    Greeting **place = &stub->greetings;
    while (*place != greeting)
        place = &(*place)->next;
    *place = greeting->next;
    stub->greeting_count--;
    g_source_destroy(greeting->source);
    g_source_unref(greeting->source);
    const int link = greeting->link;
    free(greeting);
    return link;
}

void turn_away(Greeting *greeting, const char *why)
{
    if (why)
        dlog_print(log_error, log_tag, "port %s of %s: process %d (user %u) %s: its link is closed",
                   greeting->stub->port_name, greeting->stub->appid, greeting->credentials.pid,
                   greeting->credentials.uid, why);
    close(end_greeting(greeting));
}

Greeting *find_other(const Greeting *greeting)
{
    for (Greeting *other = greeting->stub->greetings; other; other = other->next)
        if (other->heard && other != greeting && other->hello.link != greeting->hello.link &&
            other->credentials.pid == greeting->credentials.pid &&
            other->credentials.uid == greeting->credentials.uid &&
            memcmp(other->hello.token, greeting->hello.token, token_size) == 0)
            return other;
    return nullptr;
}

void pair_up(Greeting *greeting)
{
    Greeting *other = find_other(greeting);
    if (!other)
        return;
    Stub *stub = greeting->stub;
    const PeerCredentials credentials = greeting->credentials;
    Hello hello = greeting->hello;
    const int one = end_greeting(greeting);
    const int two = end_greeting(other);
    peer_admit(stub, hello.link == 0 ? one : two, hello.link == 0 ? two : one, credentials, hello.sender);
}

void hear(Greeting *greeting)
{
    ssize_t got;
    do {
        got = recv(greeting->link, greeting->bytes + greeting->size, sizeof greeting->bytes - greeting->size,
                   MSG_DONTWAIT);
    } while (got < 0 && errno == EINTR);
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
        return;
    if (got <= 0)
        return turn_away(greeting, nullptr); // it has left
    greeting->size += static_cast<size_t>(got);
    switch (read_hello(greeting->bytes, greeting->size, &greeting->hello)) {
    case Parsed::incomplete: return;
    case Parsed::malformed: return turn_away(greeting, "does not greet as a proxy does");
    case Parsed::whole: break;
    }
    if (greeting->hello.version != hello_version) {
        send_answer(greeting->link, -EPROTONOSUPPORT);
        return turn_away(greeting, "speaks another version of this protocol");
    }
    greeting->heard = true;
    pair_up(greeting);
}

struct GreetingSource {
    GSource base;
    Greeting *greeting;
};

gboolean run_greeting_turn(GSource *source, GSourceFunc, gpointer)
{
    Greeting *greeting = reinterpret_cast<GreetingSource *>(source)->greeting;
    if (greeting->stub->made_in != process_generation)
        return G_SOURCE_REMOVE;
    Stub *stub = greeting->stub;
    stub_hold(stub);
    if (g_source_query_unix_fd(source, greeting->watch) != 0) {
        // Nothing follows a greeting before the answer, but the peer may leave.
        if (greeting->heard)
            turn_away(greeting, nullptr);
        else
            hear(greeting);
    } else if (g_get_monotonic_time() >= greeting->gives_up_at) {
        turn_away(greeting, greeting->heard ? "opened one of two links only" : "connected and says nothing");
    }
    stub_release(stub);
    return G_SOURCE_CONTINUE;
}

GSourceFuncs greeting_source_functions = {nullptr, nullptr, run_greeting_turn, nullptr, nullptr, nullptr};

void await_greeting(Stub *stub, int link, const PeerCredentials &credentials)
{
    auto *greeting =
        stub->greeting_count < most_greetings ? static_cast<Greeting *>(calloc(1, sizeof(Greeting))) : nullptr;
    if (!greeting) {
        dlog_print(log_error, log_tag, "port %s of %s: too many links have not greeted, process %d is turned away",
                   stub->port_name, stub->appid, credentials.pid);
        close(link);
        return;
    }
    greeting->stub = stub;
    greeting->link = link;
    greeting->credentials = credentials;
    greeting->gives_up_at = g_get_monotonic_time() + gint64{1000} * stub->timeout_ms;
    greeting->next = stub->greetings;
    stub->greetings = greeting;
    stub->greeting_count++;
    greeting->source = g_source_new(&greeting_source_functions, sizeof(GreetingSource));
    reinterpret_cast<GreetingSource *>(greeting->source)->greeting = greeting;
    g_source_set_static_name(greeting->source, "rpc port greeting");
    greeting->watch = g_source_add_unix_fd(greeting->source, link, G_IO_IN);
    g_source_set_ready_time(greeting->source, greeting->gives_up_at);
    g_source_attach(greeting->source, stub->context);
}

void meet(Stub *stub, int link)
{
    PeerCredentials credentials;
    if (read_credentials(link, &credentials) != 0) {
        close(link);
        return;
    }
    if (is_own_or_root(credentials) || is_member(link, credentials, stub->group)) {
        await_greeting(stub, link, credentials);
        return;
    }
    dlog_print(log_error, log_tag,
               "port %s of %s: process %d of user %u is turned away: only user %u, root and the package's group are "
               "admitted",
               stub->port_name, stub->appid, credentials.pid, credentials.uid, geteuid());
    send_answer(link, -EACCES);
    close(link);
}

// Without descriptors or memory the listener would stay readable and the loop spin.
void pause_accepting(Stub *stub)
{
    fail(stub, "cannot accept a connection, trying again soon, at");
    g_source_modify_unix_fd(stub->source, stub->watch, static_cast<GIOCondition>(0));
    g_source_set_ready_time(stub->source, g_get_monotonic_time() + accept_pause_us);
}

void accept_waiting(Stub *stub)
{
    for (int i = 0; i < most_accepts_per_turn; i++) {
        const int link = accept4(stub->listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (link >= 0)
            meet(stub, link);
        else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM)
            return pause_accepting(stub);
        else if (errno != EINTR && errno != ECONNABORTED)
            return;
    }
}

struct StubSource {
    GSource base;
    Stub *stub;
};

gboolean run_listener_turn(GSource *source, GSourceFunc, gpointer)
{
    Stub *stub = reinterpret_cast<StubSource *>(source)->stub;
    if (stub->made_in != process_generation)
        return G_SOURCE_REMOVE;
    if (g_source_get_ready_time(source) != -1) {
        g_source_set_ready_time(source, -1);
        g_source_modify_unix_fd(source, stub->watch, G_IO_IN);
    }
    accept_waiting(stub);
    return G_SOURCE_CONTINUE;
}

GSourceFuncs listener_source_functions = {nullptr, nullptr, run_listener_turn, nullptr, nullptr, nullptr};

int lock_port(Stub *stub)
{
    const int lock = take_lock(stub->place.serving_lock);
    char holder[24] = "";
    if (lock == -EWOULDBLOCK) {
        const int file = open(stub->place.serving_lock, O_RDONLY | O_CLOEXEC);
        const ssize_t got = file >= 0 ? read(file, holder, sizeof holder - 1) : 0;
        if (file >= 0)
            close(file);
        holder[got > 0 ? got : 0] = '\0';
        holder[strcspn(holder, "\n")] = '\0';
        dlog_print(log_error, log_tag, "port %s of %s is already served by process %s (lock %s): stop that one first",
                   stub->port_name, stub->appid, holder[0] ? holder : "(unknown)", stub->place.serving_lock);
        return -EADDRINUSE;
    }
    if (lock < 0)
        return lock;
    const int length = snprintf(holder, sizeof holder, "%d\n", getpid());
    // For the log line above only: the lock holds without it.
    if (ftruncate(lock, 0) != 0 || write(lock, holder, static_cast<size_t>(length)) != length)
        dlog_print(log_warning, log_tag, "cannot write to %s: %s", stub->place.serving_lock, strerror(errno));
    stub->lock = lock;
    return 0;
}

int bind_and_listen(Stub *stub)
{
    const char *path = stub->place.socket.sun_path;
    stub->listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (stub->listener < 0)
        return fail(stub, "cannot make the socket");
    // The lock is ours, so whatever is there was left behind by an agent that is dead.
    if (unlink(path) == 0)
        dlog_print(log_warning, log_tag, "port %s of %s: a stale socket file was replaced", stub->port_name,
                   stub->appid);
    else if (errno != ENOENT)
        return fail(stub, "cannot replace the stale socket file");
    fchmod(stub->listener, 0600); // what bind makes never has more, whatever the umask
    if (bind(stub->listener, reinterpret_cast<const sockaddr *>(&stub->place.socket), sizeof stub->place.socket) != 0)
        return fail(stub, "cannot bind");
    if (stub->group != no_group && (chown(path, static_cast<uid_t>(-1), stub->group) != 0 || chmod(path, 0660) != 0))
        return fail(stub, "cannot open to the package's group");
    if (listen(stub->listener, SOMAXCONN) != 0)
        return fail(stub, "cannot listen at");
    return 0;
}

} // namespace

int stub_listen(Stub *stub)
{
    int code = find_port_place(stub->appid, stub->port_name, &stub->place);
    if (code != 0)
        return code;
    stub->group = package_group_id(stub->appid);
    stub->timeout_ms = connect_timeout_ms();
    stub->made_in = process_generation;
    code = make_runtime_directory(stub->place.directory, stub->group);
    if (code == 0)
        code = lock_port(stub);
    if (code == 0)
        code = bind_and_listen(stub);
    if (code != 0) {
        stub_stop_listening(stub);
        if (stub->lock >= 0)
            close(stub->lock);
        stub->lock = -1;
        return code;
    }
    stub->context = g_main_context_ref_thread_default();
    stub->source = g_source_new(&listener_source_functions, sizeof(StubSource));
    reinterpret_cast<StubSource *>(stub->source)->stub = stub;
    g_source_set_static_name(stub->source, "rpc port listener");
    stub->watch = g_source_add_unix_fd(stub->source, stub->listener, G_IO_IN);
    g_source_attach(stub->source, stub->context);
    dlog_print(log_info, log_tag, "port %s of %s: listening at %s", stub->port_name, stub->appid,
               stub->place.socket.sun_path);
    return 0;
}

void stub_stop_listening(Stub *stub)
{
    if (stub->source) {
        g_source_destroy(stub->source);
        g_source_unref(stub->source);
        stub->source = nullptr;
    }
    while (stub->greetings)
        close(end_greeting(stub->greetings));
    if (stub->listener >= 0) {
        if (stub->made_in == process_generation)
            unlink(stub->place.socket.sun_path);
        close(stub->listener);
        stub->listener = -1;
    }
    if (stub->context) {
        g_main_context_unref(stub->context);
        stub->context = nullptr;
    }
}

} // namespace kv::host
