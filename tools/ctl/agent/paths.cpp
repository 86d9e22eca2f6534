// SPDX-License-Identifier: Apache-2.0
#include "paths.hpp"

#include "tools/ctl/output/failure.hpp"

#include "common/agent_state.hpp"
#include "common/owned.hpp"

#include <host_paths.h>

#include <cstdlib>
#include <filesystem>

#include <unistd.h>

namespace kv::ctl {

namespace {

constexpr const char *program_name = "korvane-agent";

template <class Get>
std::string path_from(Get get, const char *what)
{
    CText text;
    if (const int code = get(text.out()); code != 0)
        throw Failure{failed, std::string{"cannot find "} + what + " (" + std::to_string(code) +
                                  "); the line above gives the "
                                  "reason"};
    return text.get();
}

} // namespace

std::string runtime_directory()
{
    return path_from(rpc_port_get_directory, "the runtime directory");
}

std::string agent_socket()
{
    return path_from(
        [](char **path) { return rpc_port_get_socket_path(KORVANE_AGENT_APPID, KORVANE_AGENT_PORT, path); },
        "the agent's port");
}

std::string package_entry()
{
    return path_from([](char **path) { return package_info_get_path(KORVANE_AGENT_APPID, path); },
                     "the agent's package entry");
}

std::string agent_program()
{
    if (const char *chosen = std::getenv("KORVANE_AGENT"); chosen && *chosen)
        return chosen;
    std::error_code ignored;
    const auto beside = std::filesystem::read_symlink("/proc/self/exe", ignored).replace_filename(program_name);
    if (access(beside.c_str(), X_OK) == 0)
        return beside;
    g_autofree char *found = g_find_program_in_path(program_name);
    return found ? found : "";
}

std::string required_agent_program(const std::string &chosen)
{
    const std::string path = chosen.empty() ? agent_program() : chosen;
    if (path.empty())
        throw Failure{failed,
                      "cannot find korvane-agent next to this program or in PATH; name it with --agent-program"};
    return path;
}

std::string agent_error_in(const std::string &line)
{
    const std::string prefix = std::string{program_name} + ": ";
    return line.rfind(prefix, 0) == 0 ? line.substr(prefix.size()) : "";
}

} // namespace kv::ctl
