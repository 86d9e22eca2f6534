// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/control/commands/commands.hpp"
#include "agent/files/descriptor.hpp"
#include "agent/loop/source.hpp"

#include <list>
#include <memory>
#include <string>

namespace kv::virtual_agent {

/// Reads commands, one per line, from standard input or a FIFO, and prints each reply as one line of JSON: in the order
/// of the commands, except that the reply of a command that waits comes later. The end of standard input stops the agent.
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
    void watch(int fd);
    /// Returns false at the end of the input.
    bool read_some();
    void run_lines();
    void run_line(const std::string &line);
    static void print(const Json &reply);

    ControlledAgent &agent_;
    int fd_ = -1;
    Descriptor opened_{};
    std::string fifo_; // to be removed at the end; empty if it existed before
    std::string text_;
    bool is_discarding_ = false;                    // up to the end of a line that is too long
    std::list<std::unique_ptr<Waiting>> waiting_{}; // commands whose replies are pending
    Source source_{};
};

} // namespace kv::virtual_agent
