// SPDX-License-Identifier: Apache-2.0
#include "standard_output.hpp"

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace kv::virtual_agent {

void print_line(const std::string &line)
{
    if (std::printf("%s\n", line.c_str()) < 0 || std::fflush(stdout) != 0)
        throw std::system_error{errno, std::generic_category(), "cannot write to standard output"};
}

} // namespace kv::virtual_agent
