// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kv::ctl {

/// A pseudo-terminal for the standard output of a program. The C library writes each line to a terminal at once, but keeps
/// what it prints to a pipe or a file until a buffer is full, and loses the buffer when a signal ends the program.
class LineTerminal {
public:
    /// What the program prints is written to the descriptor `target`.
    explicit LineTerminal(int target);
    LineTerminal(const LineTerminal &) = delete;
    LineTerminal &operator=(const LineTerminal &) = delete;
    ~LineTerminal();

    /// Whether the system has given a terminal; some containers have none.
    bool is_open() const { return program_side_ >= 0; }
    /// The descriptor for the program; to be closed with close_program_side() once the program has it.
    int program_side() const { return program_side_; }
    void close_program_side();

    /// The descriptor that becomes readable when the program has printed.
    int fd() const { return own_side_; }
    /// Writes what has arrived to the target. Returns false at the end of the output.
    bool pass_on() const;
    /// The same until nothing more has arrived.
    void pass_on_all() const;

private:
    int target_;
    int own_side_;
    int program_side_ = -1;
};

} // namespace kv::ctl
