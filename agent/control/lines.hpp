// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/control/commands/commands.hpp"

#include <list>
#include <memory>
#include <string>

namespace kv::virtual_agent {

/// Reads commands, a line each, from standard input or a FIFO, and prints each answer as one line of JSON: that
/// of a command that waits when it is there, the others in their order. Standard
/// input that ends stops the agent: whoever steered it is gone.
class LineControl {
public:
    explicit LineControl(Steered &agent) : agent_(agent) {}
    LineControl(const LineControl &) = delete;
    LineControl &operator=(const LineControl &) = delete;
    ~LineControl();

    void read_standard_input();
    /// Makes the FIFO when it is missing. Throws std::system_error when it cannot be had.
    void read_fifo(const std::string &path);

private:
    void watch(int fd);
    /// False at the end of what can be read.
    bool read_some();
    void run_lines();
    void run_line(const std::string &line);

    Steered &agent_;
    int fd_ = -1;
    unsigned source_ = 0;
    std::string fifo_; // to be removed at the end; empty when it was there before
    std::string text_;
    std::list<std::unique_ptr<Waiting>> waiting_{}; // commands whose answers are yet to come
};

} // namespace kv::virtual_agent
