// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <functional>
#include <vector>

namespace kv::ctl {

/// A GLib main loop that runs until one of its callbacks ends it. An exception that a callback throws ends the loop too,
/// and run() throws it on: it must not pass through GLib, which is C.
class Loop {
public:
    Loop();
    Loop(const Loop &) = delete;
    Loop &operator=(const Loop &) = delete;
    ~Loop();

    void run();
    void quit();
    /// Runs the callback whenever the signal arrives. The signal no longer ends the process.
    void on_signal(int number, std::function<void()> callback);
    /// Runs the callback once, after that time.
    void after_ms(unsigned milliseconds, std::function<void()> callback);
    /// Runs the callback while the descriptor is readable or at its end, until it returns false.
    void on_readable(int fd, std::function<bool()> callback);

    /// Runs a callback of C code. If it throws, the innermost loop that runs throws the exception on.
    static void guard(const std::function<void()> &callback) noexcept;

private:
    unsigned add(unsigned source);

    static Loop *running_;

    void *loop_;
    std::vector<unsigned> sources_{};
    std::exception_ptr thrown_{};
};

} // namespace kv::ctl
