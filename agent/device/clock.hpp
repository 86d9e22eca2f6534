// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <map>

namespace kv::virtual_agent {

/// The agent's time. Runs by itself on the GLib main loop, or stands still and moves only when it is told to: then a day
/// of keep-alives takes no longer than what happens in it.
class Clock {
public:
    using Work = std::function<void()>;
    using Id = std::uint64_t; // never 0

    Clock() = default;
    Clock(const Clock &) = delete;
    Clock &operator=(const Clock &) = delete;
    ~Clock();

    /// Milliseconds since the clock was made.
    std::int64_t now_ms() const;

    /// Does the work once, that much later. What it throws is said on stderr.
    Id after(std::int64_t milliseconds, Work work);
    /// Nothing happens for one that is done.
    void cancel(Id id);

    bool stands() const { return stands_; }
    void stand();
    void run();
    /// Moves a standing clock on and does, in order, all that comes due; what that brings about included.
    void advance(std::int64_t milliseconds);

private:
    struct Due {
        std::int64_t time_ms;
        Id id;
        auto operator<=>(const Due &) const = default; // NOLINT(modernize-use-nullptr): the compiler's own 0
    };

    /// Does everything that is due by now.
    void work_off();
    void wake_for_first();
    void sleep();

    std::int64_t origin_ms_ = real_ms();
    std::int64_t stood_at_ms_ = 0;
    bool stands_ = false;
    Id last_id_ = 0;
    unsigned source_ = 0;
    std::map<Due, Work> due_{};

    static std::int64_t real_ms();
};

} // namespace kv::virtual_agent
