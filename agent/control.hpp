// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "commands.hpp"

#include <string>

namespace kv::virtual_agent {

/// Reads commands, a line each, from standard input or a FIFO, and prints each answer as one line of JSON. Standard
/// input that ends stops the agent: whoever steered it is gone.
class Control {
public:
    explicit Control(Steered &agent) : agent_(agent) {}
    Control(const Control &) = delete;
    Control &operator=(const Control &) = delete;
    ~Control();

    void read_standard_input();
    /// Makes the FIFO when it is missing. Throws std::system_error when it cannot be had.
    void read_fifo(const std::string &path);

private:
    void watch(int fd);
    /// False at the end of what can be read.
    bool read_some();
    void run_lines();

    Steered &agent_;
    int fd_ = -1;
    unsigned source_ = 0;
    std::string fifo_; // to be removed at the end; empty when it was there before
    std::string text_;
};

} // namespace kv::virtual_agent
