// SPDX-License-Identifier: Apache-2.0
#include "clock.hpp"

#include <glib.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <utility>

namespace kv::virtual_agent {

Clock::~Clock()
{
    sleep();
}

std::int64_t Clock::real_ms()
{
    return g_get_monotonic_time() / 1000;
}

std::int64_t Clock::now_ms() const
{
    return stands_ ? stood_at_ms_ : real_ms() - origin_ms_;
}

Clock::Id Clock::after(std::int64_t milliseconds, Work work)
{
    const Id id = ++last_id_;
    due_.emplace(Due{now_ms() + std::max<std::int64_t>(milliseconds, 0), id}, std::move(work));
    wake_for_first();
    return id;
}

void Clock::cancel(Id id)
{
    std::erase_if(due_, [id](const auto &entry) { return entry.first.id == id; });
}

void Clock::stand()
{
    stood_at_ms_ = now_ms();
    stands_ = true;
    sleep();
}

void Clock::run()
{
    origin_ms_ = real_ms() - now_ms();
    stands_ = false;
    wake_for_first();
}

void Clock::advance(std::int64_t milliseconds)
{
    const std::int64_t end = stood_at_ms_ + milliseconds;
    while (!due_.empty() && due_.begin()->first.time_ms <= end) {
        stood_at_ms_ = std::max(stood_at_ms_, due_.begin()->first.time_ms);
        work_off();
    }
    stood_at_ms_ = end;
}

void Clock::work_off()
{
    const Id newest = last_id_; // what the work brings about waits its turn, so that it cannot keep the loop to itself
    while (!due_.empty() && due_.begin()->first.time_ms <= now_ms() && due_.begin()->first.id <= newest) {
        // Taken out first: the work may cancel others.
        const auto first = due_.extract(due_.begin());
        try {
            first.mapped()();
        } catch (const std::exception &problem) {
            std::fprintf(stderr, "korvane-agent: %s\n", problem.what());
        }
    }
}

void Clock::wake_for_first()
{
    sleep();
    if (stands_ || due_.empty())
        return;
    const std::int64_t wait = std::clamp<std::int64_t>(due_.begin()->first.time_ms - now_ms(), 0, G_MAXINT);
    source_ = g_timeout_add(
        static_cast<guint>(wait),
        [](gpointer data) -> gboolean {
            auto *self = static_cast<Clock *>(data);
            self->source_ = 0;
            self->work_off();
            self->wake_for_first();
            return G_SOURCE_REMOVE;
        },
        this);
}

void Clock::sleep()
{
    if (const unsigned source = std::exchange(source_, 0); source != 0)
        g_source_remove(source);
}

} // namespace kv::virtual_agent
