// SPDX-License-Identifier: Apache-2.0
//
// The socket file of a port, the lock that makes its agent the only one, and accepting links.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/host/log/log.hpp"
#include "platform/host/ports/links/polling.hpp"
#include "platform/host/ports/links/timeouts.hpp"
#include "platform/host/ports/runtime/inherited_socket.hpp"
#include "stub.hpp"

namespace kv::host {
namespace {

constexpr int max_accepts_per_turn = 64;
constexpr gint64 accept_pause_us = 100000;

int fail(const Stub *stub, const char *what)
{
    const int error = errno;
    dlog_print(log_error, log_tag, "port %s of %s: %s %s: %s", stub->port_name.get(), stub->appid.get(), what,
               stub->paths.socket.sun_path, strerror(error));
    return -error;
}

// Without descriptors or memory the listener would stay readable and keep the loop busy.
void pause_accepting(Stub *stub)
{
    fail(stub, "cannot accept a connection and will retry in 100 ms at");
    g_source_modify_unix_fd(stub->source.get(), stub->watch, static_cast<GIOCondition>(0));
    g_source_set_ready_time(stub->source.get(), g_get_monotonic_time() + accept_pause_us);
}

void accept_links(Stub *stub)
{
    for (int i = 0; i < max_accepts_per_turn; i++) {
        Fd link{accept4(stub->listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK)};
        if (link)
            handshake_begin(stub, std::move(link));
        else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM)
            return pause_accepting(stub);
        else if (errno != EINTR && errno != ECONNABORTED)
            return;
    }
}

struct ListenerSource {
    GSource base;
    Stub *stub;
};

gboolean run_listener_turn(GSource *source, GSourceFunc, gpointer)
{
    Stub *stub = reinterpret_cast<ListenerSource *>(source)->stub;
    if (stub->listens_in != process_generation)
        return G_SOURCE_REMOVE;
    if (g_source_get_ready_time(source) != -1) {
        g_source_set_ready_time(source, -1);
        g_source_modify_unix_fd(source, stub->watch, G_IO_IN);
    }
    accept_links(stub);
    return G_SOURCE_CONTINUE;
}

GSourceFuncs listener_source_functions = {nullptr, nullptr, run_listener_turn, nullptr, nullptr, nullptr};

void create_source(Stub *stub)
{
    stub->context = g_main_context_ref_thread_default();
    GSource *source = g_source_new(&listener_source_functions, sizeof(ListenerSource));
    stub->source.reset(source);
    reinterpret_cast<ListenerSource *>(source)->stub = stub;
    g_source_set_static_name(source, "rpc port listener");
    stub->watch = g_source_add_unix_fd(source, stub->listener.get(), G_IO_IN);
    g_source_attach(source, stub->context);
    poll_in_context(stub->context, polling_time_us());
}

void log_port_in_use(const Stub *stub)
{
    char holder[24] = "";
    const Fd file{open(stub->paths.serving_lock, O_RDONLY | O_CLOEXEC)};
    const ssize_t size = file ? read(file.get(), holder, sizeof holder - 1) : 0;
    holder[size > 0 ? size : 0] = '\0';
    holder[strcspn(holder, "\n")] = '\0';
    dlog_print(log_error, log_tag, "port %s of %s is already served by process %s (lock %s): stop that process first",
               stub->port_name.get(), stub->appid.get(), holder[0] ? holder : "(unknown)", stub->paths.serving_lock);
}

int lock_port(Stub *stub)
{
    const int code = take_lock(stub->paths.serving_lock, &stub->lock);
    if (code == -EWOULDBLOCK) {
        log_port_in_use(stub);
        return -EADDRINUSE;
    }
    if (code < 0)
        return code;
    char holder[24];
    const int length = snprintf(holder, sizeof holder, "%d\n", getpid());
    // Only the log line above needs the process number.
    const int lock = stub->lock.get();
    if (ftruncate(lock, 0) != 0 || write(lock, holder, static_cast<size_t>(length)) != length)
        dlog_print(log_warning, log_tag, "cannot write to %s: %s", stub->paths.serving_lock, strerror(errno));
    return 0;
}

// Without an agent that holds the lock, another program may still listen: a service manager that starts an agent when an
// application connects. A connection attempt is the only test, and fails with ECONNREFUSED if no process listens.
int check_that_socket_is_dead(const Stub *stub)
{
    const sockaddr_un &address = stub->paths.socket;
    struct stat status;
    if (lstat(address.sun_path, &status) != 0)
        return errno == ENOENT ? 0 : fail(stub, "cannot read the status of");
    if (!S_ISSOCK(status.st_mode)) {
        dlog_print(log_error, log_tag, "port %s of %s: there is a file that is not a socket at %s: remove it",
                   stub->port_name.get(), stub->appid.get(), address.sun_path);
        return -EEXIST;
    }
    const Fd probe{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    if (!probe)
        return fail(stub, "cannot create a socket to examine");
    const bool connected = connect(probe.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    if (connected || errno == EAGAIN || errno == EPROTOTYPE) { // EAGAIN: its queue is full; EPROTOTYPE: not a stream
        dlog_print(log_error, log_tag,
                   "port %s of %s: another program, for example the socket unit korvane-agent.socket, listens at %s: "
                   "stop it, or let an application connect",
                   stub->port_name.get(), stub->appid.get(), address.sun_path);
        return -EADDRINUSE;
    }
    return errno == ECONNREFUSED || errno == ENOENT ? 0 : fail(stub, "cannot examine the socket file");
}

int bind_and_listen(Stub *stub)
{
    if (const int code = check_that_socket_is_dead(stub))
        return code;
    const sockaddr_un &address = stub->paths.socket;
    const char *path = address.sun_path;
    stub->listener.reset(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!stub->listener)
        return fail(stub, "cannot create the socket");
    if (unlink(path) == 0)
        dlog_print(log_warning, log_tag, "port %s of %s: replaced a stale socket file", stub->port_name.get(),
                   stub->appid.get());
    else if (errno != ENOENT)
        return fail(stub, "cannot replace the stale socket file");
    fchmod(stub->listener.get(), 0600); // bind never grants more than this, whatever the umask
    if (bind(stub->listener.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        return fail(stub, "cannot bind");
    if (stub->group != no_group && (chown(path, static_cast<uid_t>(-1), stub->group) != 0 || chmod(path, 0660) != 0))
        return fail(stub, "cannot open to the package's group");
    if (listen(stub->listener.get(), SOMAXCONN) != 0)
        return fail(stub, "cannot listen at");
    return 0;
}

int open_listener(Stub *stub)
{
    int code = create_runtime_directory(stub->paths.directory, stub->group);
    if (code == 0)
        code = lock_port(stub);
    if (code != 0)
        return code;
    stub->listener = inherited_socket(stub->paths.socket);
    stub->is_inherited = static_cast<bool>(stub->listener);
    return stub->is_inherited ? 0 : bind_and_listen(stub);
}

} // namespace

int stub_listen(Stub *stub)
{
    if (const int code = find_port_paths(stub->appid.get(), stub->port_name.get(), &stub->paths))
        return code;
    stub->group = package_group_id(stub->appid.get());
    stub->timeout_ms = connect_timeout_ms();
    stub->listens_in = process_generation;
    if (const int code = open_listener(stub)) {
        stub_stop_listening(stub);
        stub->lock.reset();
        return code;
    }
    create_source(stub);
    dlog_print(log_info, log_tag, "port %s of %s: listening at %s", stub->port_name.get(), stub->appid.get(),
               stub->paths.socket.sun_path);
    return 0;
}

void stub_stop_listening(Stub *stub)
{
    stub->source.reset();
    while (stub->handshakes) // one by one: a chain of destructors would need a deep stack
        stub->handshakes = std::move(stub->handshakes->next);
    stub->handshake_count = 0;
    // The service manager continues to listen at its own socket.
    if (stub->listener && !stub->is_inherited && stub->listens_in == process_generation)
        unlink(stub->paths.socket.sun_path);
    stub->listener.reset();
    g_clear_pointer(&stub->context, g_main_context_unref);
}

} // namespace kv::host
