// SPDX-License-Identifier: Apache-2.0
#include "lines.hpp"

#include "tools/ctl/output/failure.hpp"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace kv::ctl {

Pipe::Pipe()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        throw Failure{failed, std::string{"cannot create a pipe: "} + std::strerror(errno)};
    read = ends[0];
    write = ends[1];
}

Lines::~Lines()
{
    close(fd_);
}

/// Text after the last newline waits for its end; at the end of the input it is dropped.
bool Lines::read_some(const std::function<void(const std::string &line)> &take)
{
    char bytes[16 * 1024];
    const ssize_t size = read(fd_, bytes, sizeof bytes);
    if (size <= 0) // another error than these counts as the end of the input
        return size < 0 && (errno == EAGAIN || errno == EINTR);
    pending_.append(bytes, static_cast<std::size_t>(size));
    for (std::size_t end = 0; (end = pending_.find('\n')) != std::string::npos; pending_.erase(0, end + 1))
        take(pending_.substr(0, end));
    return true;
}

} // namespace kv::ctl
