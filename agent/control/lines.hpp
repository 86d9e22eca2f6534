// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/control/commands/commands.hpp"
#include "agent/files/descriptor.hpp"
#include "agent/loop/source.hpp"

#include <list>
#include <memory>
#include <string>

namespace kv::virtual_agent {

/// Reads commands, one per line, from standard input, from a FIFO or from both, and prints each reply as one line of JSON:
/// in the order of the commands, except that the reply of a command that waits comes later. The end of standard input stops
/// the agent.
class LineControl {
public:
    explicit LineControl(ControlledAgent &agent) : agent_(agent) {}
    LineControl(const LineControl &) = delete;
    LineControl &operator=(const LineControl &) = delete;
    ~LineControl();

    void read_standard_input();
    /// Creates the FIFO if it is missing. Throws std::system_error if it cannot be opened.
    void read_fifo(const std::string &path);

private:
    /// A descriptor from which lines are read.
    struct Input {
        int fd = -1;
        std::string text{};         // received, without the end of its line
        bool is_discarding = false; // up to the end of a line that is too long
        Source source{};
    };

    void watch(Input &input, int fd);
    /// Returns false at the end of the input.
    bool read_some(Input &input);
    void run_lines(Input &input);
    void run_line(const std::string &line);
    static void print(const Json &reply);

    ControlledAgent &agent_;
    std::list<std::unique_ptr<Waiting>> waiting_{}; // commands whose replies are pending
    Descriptor opened_{};
    std::string fifo_; // to be removed at the end; empty if it existed before
    Input standard_input_{};
    Input fifo_input_{};
};

} // namespace kv::virtual_agent
