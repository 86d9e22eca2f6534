// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/json.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kv::ctl {

/// The running virtual agent, steered through its control socket. What it refuses is thrown as Failure, with its
/// reason.
class Agent {
public:
    /// So many entries its journal keeps.
    static constexpr int entries_kept = 10'000;

    /// Throws Failure, with the status no_agent, when none runs here.
    Agent();
    /// None when none runs, or does not say what it can within a moment.
    static std::optional<Agent> if_running();

    /// Its version and its commands.
    const Json &overview() const { return overview_; }
    int pid() const { return pid_; }
    /// The command as the overview describes it; none for a name that it does not have.
    const Json *find_command(const std::string &name) const;

    /// What the command answers. Arguments are an object by the names of its parameters.
    Json run(const std::string &command, const Json &arguments = Json::object()) const;

    /// Entries of its journal as they are written, from that number on, until the end: its own, or the destructor's.
    class Stream {
    public:
        using Heard = std::function<void(const Json &entry)>;
        using Ended = std::function<void(const std::string &why)>;

        Stream(const Agent &agent, std::optional<long long> since, Heard heard, Ended ended);
        Stream(const Stream &) = delete;
        Stream &operator=(const Stream &) = delete;
        ~Stream();

    private:
        struct Link;
        std::shared_ptr<Link> link_;
    };

private:
    explicit Agent(unsigned timeout_s);
    Json ask(const char *method, const std::string &path, const std::string &body) const;

    std::shared_ptr<void> session_;
    Json overview_;
    int pid_ = 0;
};

/// One entry of the journal in words.
std::string entry_in_words(const Json &entry);

} // namespace kv::ctl
