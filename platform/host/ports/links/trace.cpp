// SPDX-License-Identifier: Apache-2.0
#include "trace.hpp"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "platform/host/log/log.hpp"
#include <rpc_port_trace.h>

namespace kv::host {

int trace_to = -1;

namespace {

constexpr const char *variable = "KORVANE_TRACE";
constexpr const char *descriptor_prefix = "fd:";

bool writes_to_socket;

int named_descriptor(const char *number)
{
    char *end = nullptr;
    const long descriptor = strtol(number, &end, 10);
    if (end == number || *end != '\0' || descriptor < 0 || descriptor > INT_MAX ||
        fcntl(static_cast<int>(descriptor), F_SETFD, FD_CLOEXEC) != 0) {
        errno = EBADF;
        return -1;
    }
    return static_cast<int>(descriptor);
}

// Not a pipe: if its reader ended, SIGPIPE would end the application. A socket allows MSG_NOSIGNAL.
bool can_be_written(int descriptor)
{
    struct stat status;
    if (fstat(descriptor, &status) != 0)
        return false;
    writes_to_socket = S_ISSOCK(status.st_mode);
    if (writes_to_socket || S_ISREG(status.st_mode))
        return true;
    errno = EINVAL;
    return false;
}

// Runs before main, so before the application has threads, because it removes the variable from the environment: the
// number of a descriptor means something else in a program that this one starts.
[[gnu::constructor]] void begin_trace()
{
    const char *wanted = secure_getenv(variable);
    if (!wanted || !*wanted)
        return;
    const size_t prefix = strlen(descriptor_prefix);
    const bool named = strncmp(wanted, descriptor_prefix, prefix) == 0;
    const int descriptor =
        named ? named_descriptor(wanted + prefix)
              : open(wanted, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
    if (descriptor >= 0 && can_be_written(descriptor)) {
        trace_to = descriptor;
    } else {
        dlog_print(
            log_error, log_tag,
            "cannot write the trace to %s=%s: %s; give a file, or fd:N with the descriptor of a file or a socket",
            variable, wanted, errno == ELOOP ? "it is a symbolic link" : strerror(errno));
        if (descriptor >= 0 && !named)
            close(descriptor);
    }
    unsetenv(variable);
}

ssize_t write_some(iovec *parts, size_t count)
{
    if (!writes_to_socket)
        return writev(trace_to, parts, static_cast<int>(count));
    msghdr message = {};
    message.msg_iov = parts;
    message.msg_iovlen = count;
    return sendmsg(trace_to, &message, MSG_NOSIGNAL);
}

bool write_all(iovec *parts, size_t count)
{
    while (count > 0) {
        ssize_t written = write_some(parts, count);
        if (written < 0 && errno != EINTR)
            return false;
        for (; count > 0 && written >= static_cast<ssize_t>(parts->iov_len); --count, ++parts)
            written -= static_cast<ssize_t>(parts->iov_len);
        if (count > 0 && written > 0) {
            parts->iov_base = static_cast<uint8_t *>(parts->iov_base) + written;
            parts->iov_len -= static_cast<size_t>(written);
        }
    }
    return true;
}

} // namespace

void write_trace(const Port *port, bool sent, const Parcel *parcel)
{
    const int error = errno;
    rpc_port_trace_record_t record = {};
    record.magic = RPC_PORT_TRACE_MAGIC;
    record.process = static_cast<uint32_t>(getpid());
    record.time_us = g_get_real_time();
    record.size = static_cast<uint32_t>(parcel->end - frame_header);
    record.port = static_cast<uint32_t>(port->fd.get());
    record.link = static_cast<uint32_t>(port->role);
    record.sent = sent ? 1 : 0;
    iovec parts[] = {{&record, sizeof record}, {parcel->buffer.bytes() + frame_header, record.size}};
    if (!write_all(parts, 2)) {
        dlog_print(log_error, log_tag, "cannot write the trace: %s; the trace ends here", strerror(errno));
        close(trace_to);
        trace_to = -1;
    }
    errno = error;
}

} // namespace kv::host
