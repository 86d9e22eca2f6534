// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>
#include <vector>

namespace kv::virtual_agent {

/// A file as it was when the agent was built.
struct EmbeddedFile {
    std::string_view name;
    std::string_view bytes;
};

/// Those of agent/console, of which a browser sees the console, and of agent/personalities.
const std::vector<EmbeddedFile> &console_files();
const std::vector<EmbeddedFile> &personality_files();

} // namespace kv::virtual_agent
