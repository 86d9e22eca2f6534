// SPDX-License-Identifier: Apache-2.0
#include "read_file.hpp"

#include "descriptor.hpp"

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kv::virtual_agent {

std::string read_file(const std::string &path, std::size_t max_size)
{
    const auto fail = [&path] { throw std::system_error{errno, std::generic_category(), "cannot read " + path}; };
    // Without O_NONBLOCK, opening a FIFO waits for a writer.
    const Descriptor file{::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)};
    struct stat facts = {};
    if (file.get() < 0 || ::fstat(file.get(), &facts) != 0)
        fail();
    if (!S_ISREG(facts.st_mode))
        throw std::runtime_error{"cannot read " + path + ": it is not a regular file"};

    std::string text;
    char bytes[16384];
    for (;;) {
        const ssize_t count = ::read(file.get(), bytes, sizeof bytes);
        if (count == 0)
            return text;
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail();
        text.append(bytes, static_cast<std::size_t>(count));
        if (text.size() > max_size)
            throw std::runtime_error{"cannot read " + path + ": it is longer than " + std::to_string(max_size) +
                                     " bytes"};
    }
}

} // namespace kv::virtual_agent
