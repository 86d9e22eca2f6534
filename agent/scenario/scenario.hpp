// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/control/commands/commands.hpp"

#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// The choices that are made when a scenario is read.
struct ScenarioInput {
    std::map<std::string, std::string> values{}; // of variables by name, as words; a scenario may not have all of them
    std::uint32_t seed = 0;                      // of the random orders
};

/// The seed of the random orders of a scenario; none if it has no such order.
using Seed = std::optional<std::uint32_t>;

/// The seed as a number, or null.
inline Json shown(const Seed &seed)
{
    return seed ? Json{static_cast<double>(*seed)} : Json{};
}

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
        int line;                  // at which it begins in the file
        std::string file{};        // empty if the scenario was not read from a file
        std::string included_by{}; // ", included by FILE, line N"; empty for a step of the scenario's own file
        std::string text{};        // the method or function, or the line to write
        const Command *command = nullptr;
        bool keeps_calls = false;        // a command after which earlier calls still meet expectations
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
    bool keeps_calls = false;             // commands do not end the calls that later expectations mean
    bool is_part = false;                 // only included by others, not played by itself
    std::vector<std::string> variables{}; // of the scenario's own file
    Seed seed{};
    std::vector<Step> steps{};

    bool applies_to(int version) const { return version >= since && version < before; }
    /// Throws std::invalid_argument if the scenario is a part of others, or not meant for this version.
    void require(int version) const;

    /// Adds the steps of another scenario; both must be meant for a version then.
    void append(Scenario more);

    static constexpr std::size_t max_file = 1 << 20;

    /// Throws std::invalid_argument with line, column and mistake. Such a scenario cannot include a file.
    static Scenario parse(const std::string &text, const ScenarioInput &input = {});
    /// The same for a parsed scenario, which counts as one line.
    static Scenario from_json(const cJSON *document, const ScenarioInput &input = {});
    /// The same for a file. Throws std::exception as well if the file cannot be read.
    static Scenario load(const std::string &path, const ScenarioInput &input = {});
};

} // namespace kv::virtual_agent
