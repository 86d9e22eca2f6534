// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/json.hpp"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kv::ctl {

/// The state that the two links of a connection share.
struct Connection {
    bool is_accepted = false;   // by the agent
    bool is_well_formed = true; // every request so far
    bool has_ended = false;
};

/// What crossed the links of a relay, as entries like those of the virtual agent's journal: a call is
/// {"method", "arguments", "answer"}, an event {"event", "values"}; {"agent": "ended"} and {"agent": "serves"} are the end of an
/// agent and the first connection to the next one. Each has its time as "time_us".
class Traffic {
public:
    /// The position of an entry that was not kept.
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    using OnWarning = std::function<void(const std::string &problem)>;

    explicit Traffic(OnWarning on_warning) : on_warning_(std::move(on_warning)) {}

    /// Returns the position of the new entry.
    std::size_t add(Json entry);
    /// Adds the reply to a call. Does nothing if the call was not kept.
    void add_answer(std::size_t call, Json answer);
    /// Counts and reports something that is not recorded. After the first ten problems the others are only counted.
    void warn(const std::string &problem);
    /// The connection whose links have this token in their handshakes.
    std::shared_ptr<Connection> connection(const std::string &token);
    /// Keeps no entry from now on.
    void stop() { stopped_ = true; }

    const std::vector<Json> &entries() const { return entries_; }
    int problems() const { return problems_; }

private:
    OnWarning on_warning_;
    std::vector<Json> entries_{};
    std::map<std::string, std::weak_ptr<Connection>> connections_{};
    int problems_ = 0;
    bool stopped_ = false;
};

} // namespace kv::ctl
