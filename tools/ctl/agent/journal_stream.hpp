// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent.hpp"

#include <functional>
#include <memory>
#include <string>

namespace kv::ctl {

/// Receives the entries of the agent's journal as the agent writes them. Its callbacks run in the main loop.
class JournalStream {
public:
    using OnEntry = std::function<void(const Json &entry)>;
    /// The stream has ended, and why. Runs at most once.
    using OnEnd = std::function<void(const std::string &reason)>;

    /// Starts with entry number `since`. The stream ends with the object, if not before.
    JournalStream(const Agent &agent, long long since, OnEntry on_entry, OnEnd on_end);
    JournalStream(const JournalStream &) = delete;
    JournalStream &operator=(const JournalStream &) = delete;
    ~JournalStream();

private:
    struct Link;
    std::shared_ptr<Link> link_;
};

} // namespace kv::ctl
