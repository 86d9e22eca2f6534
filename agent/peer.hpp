// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "decode.hpp"

#include <array>
#include <map>
#include <optional>
#include <string>

namespace kv::virtual_agent {

/// One connected application, and what it has told the agent of itself.
struct Peer {
    std::string instance; // the port's name for it
    std::string program;
    int pid = 0;
    std::optional<std::array<int, 3>> api_version;
    std::map<int, AnyDelegate> delegates; // by type: a later one takes the place of an earlier one

    std::string name() const { return program + "(" + std::to_string(pid) + ")"; }

    void keep(const AnyDelegate &delegate) { delegates[delegate.id] = delegate; }

    /// A delegate that serves once is done when its event has been sent.
    void fired(const AnyDelegate &delegate)
    {
        auto kept = delegates.find(delegate.id);
        if (delegate.once && kept != delegates.end() && kept->second.seq_id == delegate.seq_id)
            delegates.erase(kept);
    }
};

} // namespace kv::virtual_agent
