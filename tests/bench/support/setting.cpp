// SPDX-License-Identifier: Apache-2.0
#include "setting.hpp"

#include "bench/clients/clients.hpp"

#include "common/agent_state.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace kv::test {

namespace {

std::string packages_of(const std::string &folder)
{
    return folder + "/packages";
}

void install(const std::string &packages, const std::string &version)
{
    std::ofstream(packages + "/" KORVANE_AGENT_APPID ".package") << "[Package]\nVersion=" << version << ".0\n";
}

std::unique_ptr<ChildProcess> started(std::unique_ptr<ChildProcess> server)
{
    next_line(*server);
    return server;
}

} // namespace

Setting::Setting()
{
    const std::string runtime = folder() + "/run";
    const std::string packages = packages_of(folder());
    std::filesystem::create_directory(packages);
    std::filesystem::create_directory(runtime);
    std::filesystem::permissions(runtime, std::filesystem::perms::owner_all);
    install(packages, newest_version);
    setenv("KORVANE_RUNTIME_DIR", runtime.c_str(), 1);
    setenv("KORVANE_PACKAGE_DIR", packages.c_str(), 1);
    unsetenv("KORVANE_LOG");
}

std::unique_ptr<ChildProcess> Setting::serve(const std::string &peer) const
{
    return started(start({program("korvane-bench-server"), peer, folder()}));
}

std::unique_ptr<ChildProcess> Setting::serve(AgentKind kind, const char *version) const
{
    install(packages_of(folder()), version);
    if (kind == AgentKind::stub)
        return started(start({program("korvane-bench-server"), peer::stub}));
    return started(start({BENCH_AGENT, "--agent-version", version}));
}

std::unique_ptr<ChildProcess> Setting::serve_second_agent() const
{
    return started(start({BENCH_AGENT, "--runtime-dir", folder() + "/second"}));
}

std::unique_ptr<ChildProcess> Setting::serve_commands(const char *version) const
{
    install(packages_of(folder()), version);
    return started(start({BENCH_AGENT, "--commands", "--agent-version", version}));
}

std::unique_ptr<ChildProcess> Setting::serve_with_tool(std::vector<std::string> command) const
{
    install(packages_of(folder()), newest_version);
    command.emplace_back(BENCH_AGENT);
    return started(start(command));
}

std::unique_ptr<ChildProcess> Setting::serve_events(const std::string &peer) const
{
    return started(start({program("korvane-bench-event-server"), peer, folder()}));
}

bool has_virtual_agent()
{
    return *BENCH_AGENT != '\0';
}

std::string program(const std::string &name)
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path() / name;
}

} // namespace kv::test
