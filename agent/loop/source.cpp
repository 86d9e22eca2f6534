// SPDX-License-Identifier: Apache-2.0
#include "source.hpp"

#include <cstdio>
#include <exception>
#include <utility>

namespace kv::virtual_agent {

/// The check of virtual table pointers is off here: for each class that it meets first, it probes the object's memory with
/// a pipe, and without a free descriptor it takes every object for a damaged one. Such a shortage is reported right here.
__attribute__((no_sanitize("vptr"))) void contain(const std::function<void()> &step) noexcept
{
    try {
        step();
    } catch (const std::exception &problem) {
        std::fprintf(stderr, "korvane-agent: %s\n", problem.what());
    }
}

/// The call of one source. GLib keeps it until a dispatch that is under way has returned, so the call may cancel the
/// source, or destroy its owner.
struct Source::State {
    Source *owner; // null once the source is cancelled
    Call call;
    bool once;
};

namespace {

/// A descriptor with any poll condition: g_unix_fd_add() has no name for POLLRDHUP.
struct DescriptorSource {
    GSource base;
    GPollFD descriptor;
};

GSource *new_descriptor_source(int fd, int conditions)
{
    static GSourceFuncs functions = {
        nullptr,
        [](GSource *source) -> gboolean {
            return reinterpret_cast<DescriptorSource *>(source)->descriptor.revents != 0;
        },
        [](GSource *, GSourceFunc callback, gpointer data) -> gboolean { return callback(data); },
        nullptr,
        nullptr,
        nullptr};
    GSource *source = g_source_new(&functions, sizeof(DescriptorSource));
    GPollFD &descriptor = reinterpret_cast<DescriptorSource *>(source)->descriptor;
    descriptor = {fd, static_cast<gushort>(conditions), 0};
    g_source_add_poll(source, &descriptor);
    return source;
}

} // namespace

gboolean Source::dispatch(gpointer data)
{
    auto *state = static_cast<State *>(data);
    if (state->once && state->owner)
        state->owner->cancel(); // first, because the call may set the source again
    bool stays = false;
    contain([&] { stays = state->call() && !state->once; });
    // A call that throws removes its source.
    if (!stays && state->owner)
        state->owner->cancel();
    return stays ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

void Source::start(GSource *source, GSourceFunc function, State *state, int priority)
{
    cancel();
    source_ = source;
    state_ = state;
    g_source_set_priority(source, priority);
    g_source_set_callback(source, function, state_, [](gpointer data) { delete static_cast<State *>(data); });
    g_source_attach(source, nullptr);
}

void Source::attach(GSource *source, GSourceFunc function, Call call, int priority)
{
    start(source, function, new State{this, std::move(call), false}, priority);
}

void Source::start_once(GSource *source, std::function<void()> call, int priority)
{
    const auto run = [call = std::move(call)] {
        call();
        return false;
    };
    start(source, dispatch, new State{this, run, true}, priority);
}

void Source::call_after(unsigned milliseconds, std::function<void()> call)
{
    start_once(g_timeout_source_new(milliseconds), std::move(call), G_PRIORITY_DEFAULT);
}

void Source::call_soon(std::function<void()> call, int priority)
{
    start_once(g_idle_source_new(), std::move(call), priority);
}

void Source::watch(int fd, int conditions, Call call, int priority)
{
    attach(new_descriptor_source(fd, conditions), dispatch, std::move(call), priority);
}

void Source::cancel()
{
    if (GSource *source = std::exchange(source_, nullptr)) {
        std::exchange(state_, nullptr)->owner = nullptr;
        g_source_destroy(source);
        g_source_unref(source);
    }
}

} // namespace kv::virtual_agent
