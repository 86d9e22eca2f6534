// SPDX-License-Identifier: Apache-2.0
#include "lines.hpp"

#include "agent/files/standard_output.hpp"

#include <cerrno>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kv::virtual_agent {

namespace {

constexpr std::size_t max_line = 1 << 20;
constexpr std::size_t max_waiting = 64;

} // namespace

LineControl::~LineControl()
{
    if (!fifo_.empty())
        ::unlink(fifo_.c_str());
}

void LineControl::read_standard_input()
{
    watch(standard_input_, STDIN_FILENO);
}

void LineControl::read_fifo(const std::string &path)
{
    if (::mkfifo(path.c_str(), 0600) == 0)
        fifo_ = path;
    else if (errno != EEXIST)
        throw std::system_error{errno, std::generic_category(), "cannot create the FIFO " + path};
    // Opened for writing as well: a FIFO without writers would be at its end.
    opened_ = Descriptor{::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC)};
    if (opened_.get() < 0)
        throw std::system_error{errno, std::generic_category(), "cannot open the FIFO " + path};
    struct stat kind = {};
    if (::fstat(opened_.get(), &kind) != 0 || !S_ISFIFO(kind.st_mode))
        throw std::system_error{EEXIST, std::generic_category(), "not a FIFO: " + path};
    watch(fifo_input_, opened_.get());
}

void LineControl::watch(Input &input, int fd)
{
    input.fd = fd;
    input.source.watch(fd, POLLIN | POLLHUP | POLLERR, [this, &input] {
        const bool goes_on = read_some(input);
        if (!goes_on)
            agent_.quit();
        return goes_on;
    });
}

/// Clients wait for replies. One that cannot be written is reported, and the commands that follow are still run.
void LineControl::print(const Json &reply)
{
    contain([&] { print_line(reply.text()); });
}

bool LineControl::read_some(Input &input)
{
    char bytes[4096];
    const ssize_t count = ::read(input.fd, bytes, sizeof bytes);
    if (count < 0)
        return errno == EINTR || errno == EAGAIN;
    if (count == 0)
        return false;
    input.text.append(bytes, static_cast<std::size_t>(count));
    run_lines(input);
    if (!input.is_discarding && input.text.size() > max_line) {
        print(bad_reply("the line is too long"));
        input.is_discarding = true;
    }
    if (input.is_discarding)
        input.text.clear();
    return true;
}

void LineControl::run_lines(Input &input)
{
    std::string &text = input.text;
    for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n')) {
        const std::string line = text.substr(0, end);
        text.erase(0, end + 1);
        // This newline may be the end of a line that is too long.
        if (std::exchange(input.is_discarding, false) || line.find_first_not_of(" \t\r") == std::string::npos)
            continue;
        run_line(line);
    }
}

void LineControl::run_line(const std::string &line)
{
    if (waiting_.size() == max_waiting)
        return print(bad_reply("too many commands are waiting"));
    const auto place = waiting_.insert(waiting_.end(), nullptr);
    *place = carry_out_line(agent_, line, [this, place](const Json &reply) {
        print(reply);
        if (*place) // the reply came later
            waiting_.erase(place);
    });
    if (!*place)
        waiting_.erase(place);
}

} // namespace kv::virtual_agent
