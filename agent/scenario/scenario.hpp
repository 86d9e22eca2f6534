// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/control/commands/commands.hpp"
#include "positions.hpp"

#include <limits>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// The steps of a scenario between an application and the agent.
struct Scenario {
    struct Step {
        enum class Kind {
            command, // runs a command of the agent
            expect,  // waits until the application calls a method
            never,   // fails if the application calls a method from here on
            until,   // waits until the agent's state matches
            wait,    // waits for a time
            say,     // writes a line to the journal
        };

        /// The request by which agents from a version on recognise the call of an expectation.
        struct Request {
            int since;
            std::string method;
            Json arguments;
        };

        Kind kind;
        int line; // at which it begins in the file
        std::string file{};
        std::string text{}; // the method or function, or the line to write
        const Command *command = nullptr;
        Json arguments{};                // of the command or of the expected call; or the expected state by path
        std::vector<Request> requests{}; // of the expected call, by ascending version
        Json answer{};                   // the expected reply to the call; null for any
        int within_ms = 0;               // the timeout, or the time to wait
        int not_before_ms = 0;           // the call or the state must not come sooner
        int since = 0;                   // the agent versions to which it applies
        int before = 0;

        /// A call of a function that such an agent does not have cannot be expected.
        bool applies_to(int version) const
        {
            return version >= since && version < before && (requests.empty() || request_to(version));
        }
        /// null if the call does not reach such an agent.
        const Request *request_to(int version) const;
    };

    std::string title{};
    int since = 0; // the agent versions for which it is meant
    int before = std::numeric_limits<int>::max();
    std::vector<Step> steps{};

    bool applies_to(int version) const { return version >= since && version < before; }
    /// Throws std::invalid_argument, which names the versions, if the scenario is not meant for this one.
    void require(int version) const;

    /// Adds the steps of another scenario; both must be meant for a version then.
    void append(Scenario more);

    static constexpr std::size_t max_file = 1 << 20;

    /// Throws std::invalid_argument with line, column and mistake.
    static Scenario parse(const std::string &text);
    /// The same for a parsed scenario, which counts as one line.
    static Scenario from_json(const cJSON *document);
    /// The same for a file. Throws std::exception as well if the file cannot be read.
    static Scenario load(const std::string &path);

private:
    static Scenario from_json(const cJSON *document, const Positions &positions);
};

} // namespace kv::virtual_agent
