// SPDX-License-Identifier: Apache-2.0
#include "lines.hpp"

#include <glib-unix.h>

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kv::virtual_agent {

namespace {

constexpr std::size_t longest_line = 1 << 20;
constexpr std::size_t most_waiting = 64;

void print(const Json &answer)
{
    std::printf("%s\n", answer.text().c_str());
    std::fflush(stdout);
}

} // namespace

LineControl::~LineControl()
{
    if (source_ != 0)
        g_source_remove(source_);
    if (fd_ > STDIN_FILENO)
        ::close(fd_);
    if (!fifo_.empty())
        ::unlink(fifo_.c_str());
}

void LineControl::read_standard_input()
{
    watch(STDIN_FILENO);
}

void LineControl::read_fifo(const std::string &path)
{
    if (::mkfifo(path.c_str(), 0600) == 0)
        fifo_ = path;
    else if (errno != EEXIST)
        throw std::system_error{errno, std::generic_category(), "cannot make the FIFO " + path};
    // Opened for writing as well, so that it does not end when a writer closes it.
    const int fd = ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        throw std::system_error{errno, std::generic_category(), "cannot open the FIFO " + path};
    fd_ = fd;
    struct stat kind = {};
    if (::fstat(fd, &kind) != 0 || !S_ISFIFO(kind.st_mode))
        throw std::system_error{EEXIST, std::generic_category(), "not a FIFO: " + path};
    watch(fd);
}

void LineControl::watch(int fd)
{
    fd_ = fd;
    source_ = g_unix_fd_add(
        fd, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR),
        [](int, GIOCondition, gpointer data) -> gboolean {
            auto *self = static_cast<LineControl *>(data);
            if (self->read_some())
                return G_SOURCE_CONTINUE;
            self->source_ = 0;
            self->agent_.quit();
            return G_SOURCE_REMOVE;
        },
        this);
}

bool LineControl::read_some()
{
    char bytes[4096];
    const ssize_t count = ::read(fd_, bytes, sizeof bytes);
    if (count < 0)
        return errno == EINTR || errno == EAGAIN;
    if (count == 0)
        return false;
    text_.append(bytes, static_cast<std::size_t>(count));
    run_lines();
    if (text_.size() > longest_line) {
        print(bad_answer("the line is too long"));
        text_.clear();
    }
    return true;
}

void LineControl::run_lines()
{
    for (std::size_t end = text_.find('\n'); end != std::string::npos; end = text_.find('\n')) {
        const std::string line = text_.substr(0, end);
        text_.erase(0, end + 1);
        if (line.find_first_not_of(" \t\r") == std::string::npos)
            continue;
        run_line(line);
    }
}

void LineControl::run_line(const std::string &line)
{
    if (waiting_.size() == most_waiting)
        return print(bad_answer("too many commands are waiting"));
    const auto place = waiting_.insert(waiting_.end(), nullptr);
    *place = carry_out_line(agent_, line, [this, place](const Json &answer) {
        print(answer);
        if (*place) // it has waited
            waiting_.erase(place);
    });
    if (!*place)
        waiting_.erase(place);
}

} // namespace kv::virtual_agent
