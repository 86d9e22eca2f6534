// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kv::virtual_agent {

/// A file that was made part of the program when it was built.
struct EmbeddedFile {
    std::string_view name;
    std::string_view bytes;
};

/// The files of agent/console, which browsers load, and of agent/personalities.
const std::vector<EmbeddedFile> &console_files();
const std::vector<EmbeddedFile> &personality_files();

/// The name of a personality: that of its file without the ending.
inline std::string personality_name(const EmbeddedFile &file)
{
    return std::string{file.name.substr(0, file.name.rfind('.'))};
}

/// fresh-device, old-agent-1.2, ...
inline std::string personality_names()
{
    std::string names;
    for (const EmbeddedFile &file : personality_files())
        names += (names.empty() ? "" : ", ") + personality_name(file);
    return names;
}

} // namespace kv::virtual_agent
