// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process.hpp"

#include <memory>
#include <string>
#include <vector>

namespace bench {

/// Who serves the calls that go through the library.
enum class AgentKind {
    virtual_agent, ///< the agent of this tree
    stub,          ///< the platform's serving side alone
};

/// A folder with an installed agent package and a runtime directory. Making it points this process's environment, and
/// so that of every child, at it.
class Setting {
public:
    static constexpr const char *newest_version = "2.3";

    Setting();

    const std::string &folder() const { return folder_.path(); }
    /// Starts the server of a bare or sd-bus peer and waits until it listens.
    std::unique_ptr<Child> serve(const std::string &peer) const;
    /// An agent of that version, which is the newest there is unless something older is to be spoken.
    std::unique_ptr<Child> serve(AgentKind kind, const char *version = newest_version) const;
    /// A virtual agent that takes commands, a line each, and answers them.
    std::unique_ptr<Child> serve_commands(const char *version = newest_version) const;
    /// Starts the server of events of a peer.
    std::unique_ptr<Child> serve_events(const std::string &peer) const;

private:
    TemporaryFolder folder_;
};

/// Whether this build has a virtual agent to measure with.
bool has_virtual_agent();

/// A program of this folder of the build tree.
std::string program(const std::string &name);

} // namespace bench
