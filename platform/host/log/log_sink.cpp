// SPDX-License-Identifier: Apache-2.0
#include "log_sink.hpp"

#include "log.hpp"
#include "log_journal.hpp"
#include "log_text.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace kv::host {

namespace {

struct Style {
    char letter;
    const char *colour;
};

Style style_of(int priority)
{
    if (priority >= log_error)
        return {'E', "\033[31m"};
    switch (priority) {
    case log_warning: return {'W', "\033[33m"};
    case log_info: return {'I', ""};
    default: return {'D', "\033[2m"};
    }
}

bool wants_colour(int descriptor)
{
    const char *refused = getenv("NO_COLOR");
    const char *terminal = getenv("TERM");
    return !(refused && *refused) && terminal && strcmp(terminal, "dumb") != 0 && isatty(descriptor);
}

/// Writes a line with one system call, or more if the write is interrupted. Gives up when the reader accepts nothing
/// for 100 ms, so that it cannot block the application.
int write_line(int descriptor, const char *bytes, std::size_t size)
{
    constexpr int timeout_ms = 100;
    while (size > 0) {
        const ssize_t written = ::write(descriptor, bytes, size);
        if (written >= 0) {
            bytes += written;
            size -= static_cast<std::size_t>(written);
            continue;
        }
        if (errno == EINTR)
            continue;
        if (errno != EAGAIN)
            return -errno;
        pollfd writable{descriptor, POLLOUT, 0};
        if (poll(&writable, 1, timeout_ms) == 0)
            return -EAGAIN;
    }
    return 0;
}

int write_text(int descriptor, bool in_colour, const LogLine &line)
{
    timespec now{};
    tm local{};
    clock_gettime(CLOCK_REALTIME, &now);
    localtime_r(&now.tv_sec, &local);

    const Style style = style_of(line.priority);
    const bool coloured = in_colour && *style.colour;
    LogText text;
    text.append_format("%04d-%02d-%02d %02d:%02d:%02d.%03ld [%d] ", local.tm_year + 1900, local.tm_mon + 1,
                       local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec, now.tv_nsec / 1'000'000, getpid());
    if (coloured)
        text.append(style.colour);
    text.append_format("%c ", style.letter);
    text.append_escaped(line.tag, strlen(line.tag));
    text.append(": ");
    text.append_escaped(line.message, line.size);
    if (coloured)
        text.append("\033[0m");
    text.append("\n");
    return write_line(descriptor, text.data(), text.size());
}

} // namespace

void LogSink::open(const LogConfig &config)
{
    coloured_ = wants_colour(STDERR_FILENO);
    switch (config.destination) {
    case LogDestination::standard_error: break;
    case LogDestination::file:
        name_ = config.file;
        // Not through a symbolic link: another user may have placed one where the application can write and that user
        // cannot.
        descriptor_ = ::open(name_, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW, 0600);
        break;
    case LogDestination::journal:
        name_ = journal_socket_path();
        descriptor_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        break;
    }
    if (config.destination != LogDestination::standard_error && descriptor_ < 0)
        report_once("cannot open", name_, -errno);
    else
        destination_ = config.destination;

    if (config.rejected) {
        LogText text;
        text.append_format("KORVANE_LOG=\"%s\" is not valid: give off, error, warning, info, debug or a digit, "
                           "then optionally :stderr, :journal or :file:PATH; using \"error\"",
                           config.rejected);
        write({log_warning, log_tag, text.data(), text.size()});
    }
}

int LogSink::write(const LogLine &line)
{
    int result = 0;
    switch (destination_) {
    case LogDestination::standard_error: return write_to_stderr(line);
    case LogDestination::file: result = write_text(descriptor_, false, line); break;
    case LogDestination::journal: result = journal_send(descriptor_, name_, line); break;
    }
    if (result == 0)
        return 0;
    report_once("cannot write to", name_, result);
    return write_to_stderr(line);
}

int LogSink::write_to_stderr(const LogLine &line) const
{
    return write_text(STDERR_FILENO, coloured_, line);
}

void LogSink::report_once(const char *what, const char *name, int error)
{
    if (reported_.exchange(1) != 0)
        return;
    LogText text;
    const char *reason = error == -ELOOP ? "it is a symbolic link; name the file itself" : strerror(-error);
    text.append_format("%s the log %s: %s; writing its lines to stderr", what, name, reason);
    write_to_stderr({log_warning, log_tag, text.data(), text.size()});
}

} // namespace kv::host
