// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/loop/source.hpp"

#include <cstdint>
#include <functional>
#include <map>

namespace kv::virtual_agent {

/// The agent's time. It runs on the GLib main loop, or is stopped and moves only by advance(): a day of keep-alives then
/// takes no longer than its events.
class Clock {
public:
    using Work = std::function<void()>;
    using Id = std::uint64_t; // never 0

    /// Milliseconds since the clock was created.
    std::int64_t now_ms() const;

    /// Calls `work` once, after that many milliseconds. An exception from it is printed on stderr.
    Id after(std::int64_t milliseconds, Work work);
    /// Does nothing if the call was made already.
    void cancel(Id id);

    bool is_stopped() const { return is_stopped_; }
    void stop();
    void run();
    /// Moves a stopped clock and makes, in order, every call that becomes due on the way, calls added by others included.
    void advance(std::int64_t milliseconds);

private:
    struct Due {
        std::int64_t time_ms;
        Id id;
        auto operator<=>(const Due &) const = default; // NOLINT(modernize-use-nullptr): the compiler's own 0
    };

    void make_due_calls();
    void schedule_next();
    static std::int64_t real_ms();

    std::int64_t origin_ms_ = real_ms();
    std::int64_t stopped_at_ms_ = 0;
    bool is_stopped_ = false;
    Id last_id_ = 0;
    std::map<Due, Work> due_{};
    Source timer_{};
};

} // namespace kv::virtual_agent
