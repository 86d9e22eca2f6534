// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "one_cpu.hpp"
#include "processes.hpp"

#include "testing/support/temporary_directory.hpp"

#include <memory>
#include <string>
#include <vector>

namespace kv::test {

/// The server of calls that use the library.
enum class AgentKind {
    virtual_agent, ///< the agent of this tree
    stub,          ///< the stub of the platform alone
};

/// A temporary directory with an installed agent package and a runtime directory. The environment of this process, and so
/// of its children, names them.
class Setting {
public:
    static constexpr const char *newest_version = "2.3";

    Setting();

    std::string folder() const { return folder_.path(); }
    /// Starts the server of a bare or sd-bus peer and waits until it listens.
    std::unique_ptr<ChildProcess> serve(const std::string &peer) const;
    /// Starts an agent of a version and waits until it listens.
    std::unique_ptr<ChildProcess> serve(AgentKind kind, const char *version = newest_version) const;
    /// Starts a virtual agent beside another one, with a runtime directory of its own.
    std::unique_ptr<ChildProcess> serve_second_agent() const;
    /// Starts a virtual agent that reads commands, one per line, and prints a reply to each.
    std::unique_ptr<ChildProcess> serve_commands(const char *version = newest_version) const;
    /// Starts a virtual agent of the newest version by a tool, whose command is that of the agent after the tool's words.
    std::unique_ptr<ChildProcess> serve_with_tool(std::vector<std::string> command) const;
    /// Starts the server of events of a peer and waits until it listens.
    std::unique_ptr<ChildProcess> serve_events(const std::string &peer) const;

private:
    TemporaryDirectory folder_{"korvane-bench"};
};

/// Whether this build has a virtual agent.
bool has_virtual_agent();

/// The path of a program of the benchmarks.
std::string program(const std::string &name);

} // namespace kv::test
