// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "decode.hpp"

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace kv::virtual_agent {

/// One connected application, and what it has told the agent of itself.
struct Peer {
    Peer(std::string port_instance, std::string name)
        : instance(std::move(port_instance)), name_(std::make_shared<const std::string>(std::move(name)))
    {
    }

    std::string instance; // the port's name for it
    std::optional<std::array<int, 3>> api_version;
    std::map<int, AnyDelegate> delegates; // by type: a later one takes the place of an earlier one

    /// For people: its program, and its process.
    const std::string &name() const { return *name_; }
    std::shared_ptr<const std::string> shared_name() const { return name_; }

    void keep(const AnyDelegate &delegate) { delegates[delegate.id] = delegate; }

    /// A delegate that serves once is done when its event has been sent.
    void fired(const AnyDelegate &delegate)
    {
        auto kept = delegates.find(delegate.id);
        if (delegate.once && kept != delegates.end() && kept->second.seq_id == delegate.seq_id)
            delegates.erase(kept);
    }

private:
    std::shared_ptr<const std::string> name_;
};

} // namespace kv::virtual_agent
