// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>
#include <vector>

namespace kv::virtual_agent {

/// A file of the web console, as it was when the agent was built.
struct ConsoleFile {
    std::string_view path; // "/" for the page itself
    const char *type;
    std::string_view bytes;
};

const std::vector<ConsoleFile> &console_files();

} // namespace kv::virtual_agent
