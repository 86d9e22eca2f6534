// SPDX-License-Identifier: Apache-2.0
#include "wait.hpp"

#include <glib.h>

#include <algorithm>
#include <memory>

#include <poll.h>

namespace kv::test {

namespace {

constexpr int check_interval_ms = 2;

struct DestroySource {
    void operator()(GSource *source) const
    {
        g_source_destroy(source);
        g_source_unref(source);
    }
};

} // namespace

Deadline::Deadline(std::chrono::milliseconds timeout) : end_(std::chrono::steady_clock::now() + timeout) {}

bool Deadline::has_passed() const
{
    return std::chrono::steady_clock::now() >= end_;
}

int Deadline::milliseconds_left() const
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - std::chrono::steady_clock::now());
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

bool wait_until(const std::function<bool()> &condition, std::chrono::milliseconds timeout)
{
    const Deadline deadline{timeout};
    while (!condition()) {
        if (deadline.has_passed())
            return false;
        ::poll(nullptr, 0, check_interval_ms);
    }
    return true;
}

bool run_main_loop_until(const std::function<bool()> &condition, std::chrono::milliseconds timeout)
{
    const Deadline deadline{timeout};
    GMainContext *context = g_main_context_get_thread_default();
    const std::unique_ptr<GSource, DestroySource> tick{g_timeout_source_new(check_interval_ms)};
    g_source_set_callback(
        tick.get(), [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr, nullptr);
    g_source_attach(tick.get(), context);
    while (!condition()) {
        if (deadline.has_passed())
            return false;
        g_main_context_iteration(context, true);
    }
    return true;
}

} // namespace kv::test
