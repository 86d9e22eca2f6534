// SPDX-License-Identifier: Apache-2.0
#include "clock.hpp"

#include <algorithm>
#include <utility>

namespace kv::virtual_agent {

std::int64_t Clock::real_ms()
{
    return g_get_monotonic_time() / 1000;
}

std::int64_t Clock::now_ms() const
{
    return is_stopped_ ? stopped_at_ms_ : real_ms() - origin_ms_;
}

Clock::Id Clock::after(std::int64_t milliseconds, Work work)
{
    const Id id = ++last_id_;
    due_.emplace(Due{now_ms() + std::max<std::int64_t>(milliseconds, 0), id}, std::move(work));
    schedule_next();
    return id;
}

void Clock::cancel(Id id)
{
    std::erase_if(due_, [id](const auto &entry) { return entry.first.id == id; });
}

void Clock::stop()
{
    stopped_at_ms_ = now_ms();
    is_stopped_ = true;
    timer_.cancel();
}

void Clock::run()
{
    origin_ms_ = real_ms() - now_ms();
    is_stopped_ = false;
    schedule_next();
}

void Clock::advance(std::int64_t milliseconds)
{
    const std::int64_t end = stopped_at_ms_ + milliseconds;
    while (!due_.empty() && due_.begin()->first.time_ms <= end) {
        stopped_at_ms_ = std::max(stopped_at_ms_, due_.begin()->first.time_ms);
        make_due_calls();
    }
    stopped_at_ms_ = end;
}

void Clock::make_due_calls()
{
    const Id newest = last_id_; // calls added meanwhile wait, so that they cannot keep the main loop to themselves
    while (!due_.empty() && due_.begin()->first.time_ms <= now_ms() && due_.begin()->first.id <= newest) {
        // Extracted first, because the call may cancel others.
        const auto first = due_.extract(due_.begin());
        contain(first.mapped());
    }
}

void Clock::schedule_next()
{
    timer_.cancel();
    if (is_stopped_ || due_.empty())
        return;
    const std::int64_t wait = std::clamp<std::int64_t>(due_.begin()->first.time_ms - now_ms(), 0, G_MAXINT);
    timer_.call_after(static_cast<unsigned>(wait), [this] {
        make_due_calls();
        schedule_next();
    });
}

} // namespace kv::virtual_agent
