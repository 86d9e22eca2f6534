// SPDX-License-Identifier: Apache-2.0
#include "report.hpp"

#include "agent/files/standard_output.hpp"

#include <unistd.h>

namespace kv::virtual_agent {

void report(const Json &facts, const std::string &sentence)
{
    print_line(isatty(STDOUT_FILENO) == 1 ? sentence : facts.text());
}

} // namespace kv::virtual_agent
