// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>

namespace kv::test {

/// The timeout of every wait in a test. Only a test that fails waits that long, so it leaves room for a busy machine.
inline constexpr std::chrono::milliseconds test_timeout{60'000};

/// The moment at which a wait that begins with this object ends.
class Deadline {
public:
    explicit Deadline(std::chrono::milliseconds timeout);

    bool has_passed() const;
    /// The rest of the time as poll() takes it: rounded up, 0 once the deadline has passed.
    int milliseconds_left() const;

private:
    std::chrono::steady_clock::time_point end_;
};

/// Checks a condition every few milliseconds until it holds. Returns false if it does not hold within the timeout.
/// Callbacks of a main loop do not run meanwhile.
bool wait_until(const std::function<bool()> &condition, std::chrono::milliseconds timeout = test_timeout);

/// Runs the GLib main context of this thread until a condition holds. Returns false if it does not hold within the
/// timeout. The condition is checked after each dispatch and every few milliseconds, because it may also depend on
/// other processes.
bool run_main_loop_until(const std::function<bool()> &condition, std::chrono::milliseconds timeout = test_timeout);

} // namespace kv::test
