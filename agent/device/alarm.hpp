// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "clock.hpp"

#include <utility>

namespace kv::virtual_agent {

/// A timer on the agent's clock. set() replaces a pending call; destruction cancels it.
class Alarm {
public:
    explicit Alarm(Clock &clock) : clock_(clock) {}
    Alarm(const Alarm &) = delete;
    Alarm &operator=(const Alarm &) = delete;
    ~Alarm() { stop(); }

    void set(std::int64_t milliseconds, Clock::Work work)
    {
        stop();
        due_ = clock_.after(milliseconds, [this, work = std::move(work)] {
            due_ = 0;
            work();
        });
    }
    void stop()
    {
        if (const Clock::Id due = std::exchange(due_, 0); due != 0)
            clock_.cancel(due);
    }

private:
    Clock &clock_;
    Clock::Id due_ = 0;
};

} // namespace kv::virtual_agent
