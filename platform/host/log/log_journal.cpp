// SPDX-License-Identifier: Apache-2.0
#include "log_journal.hpp"

#include "log.hpp"
#include "log_text.hpp"

#include <endian.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace kv::host {

namespace {

int syslog_priority(int priority)
{
    if (priority > log_error)
        return 2;
    switch (priority) {
    case log_error: return 3;
    case log_warning: return 4;
    case log_info: return 6;
    default: return 7;
    }
}

/// Appends NAME=value, or for a value with a line break NAME, its length and its bytes.
void append_field(LogText &entry, const char *name, const char *value, std::size_t size)
{
    entry.append(name);
    if (memchr(value, '\n', size)) {
        const std::uint64_t length = htole64(size);
        entry.append("\n");
        entry.append(reinterpret_cast<const char *>(&length), sizeof length);
    } else {
        entry.append("=");
    }
    entry.append(value, size);
    entry.append("\n");
}

ssize_t send_message(int socket, const msghdr &message)
{
    ssize_t sent = 0;
    do {
        sent = sendmsg(socket, &message, MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent;
}

int write_whole(int descriptor, const char *bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = write(descriptor, bytes, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return -errno;
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return 0;
}

/// Sends an entry that is too long for a datagram as a sealed memory file.
int send_as_file(int socket, msghdr message, const LogText &entry)
{
    const Fd owned{memfd_create("korvane-log", MFD_CLOEXEC | MFD_ALLOW_SEALING)};
    if (!owned)
        return -errno;
    const int file = owned.get();
    int result = write_whole(file, entry.data(), entry.size());
    if (result == 0 && fcntl(file, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL) < 0)
        result = -errno;
    if (result == 0) {
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof file)] = {};
        message.msg_iov = nullptr;
        message.msg_iovlen = 0;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        cmsghdr *header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof file);
        memcpy(CMSG_DATA(header), &file, sizeof file);
        if (send_message(socket, message) < 0)
            result = -errno;
    }
    return result;
}

} // namespace

const char *journal_socket_path()
{
    const char *path = secure_getenv("KORVANE_JOURNAL_SOCKET");
    return path && *path ? path : "/run/systemd/journal/socket";
}

int journal_send(int socket, const char *path, const LogLine &line)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (strlen(path) >= sizeof address.sun_path)
        return -ENAMETOOLONG;
    strcpy(address.sun_path, path);

    const char priority = static_cast<char>('0' + syslog_priority(line.priority));
    const char *program = program_invocation_short_name;
    LogText entry;
    append_field(entry, "PRIORITY", &priority, 1);
    append_field(entry, "SYSLOG_IDENTIFIER", program, strlen(program));
    append_field(entry, "KORVANE_TAG", line.tag, strlen(line.tag));
    append_field(entry, "MESSAGE", line.message, line.size);
    if (entry.is_cut())
        return -ENOMEM; // the journal drops an incomplete entry silently

    // Addressed each time instead of connected, so that a restarted journal still receives entries.
    iovec part{const_cast<char *>(entry.data()), entry.size()};
    msghdr message{};
    message.msg_name = &address;
    message.msg_namelen = sizeof address;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (send_message(socket, message) >= 0)
        return 0;
    if (errno != EMSGSIZE && errno != ENOBUFS)
        return -errno;
    return send_as_file(socket, message, entry);
}

} // namespace kv::host
