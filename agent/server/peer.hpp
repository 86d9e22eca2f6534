// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/interface/parcel.hpp"

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace kv::virtual_agent {

/// One connected application, with the delegates that it has registered.
struct Peer {
    Peer(std::string port_instance, std::string name)
        : instance(std::move(port_instance)), name_(std::make_shared<const std::string>(std::move(name)))
    {
    }

    std::string instance; // identifies the connection to the platform
    std::optional<std::array<int, 3>> api_version;
    std::map<int, AnyDelegate> delegates; // by type; a later one replaces an earlier one

    /// For logs and the journal: the program and its process id.
    const std::string &name() const { return *name_; }
    std::shared_ptr<const std::string> shared_name() const { return name_; }

    void keep(const AnyDelegate &delegate) { delegates[delegate.id] = delegate; }

    /// Removes a delegate that one event completes, once that event is sent.
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
