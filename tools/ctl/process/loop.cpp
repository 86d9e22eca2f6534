// SPDX-License-Identifier: Apache-2.0
#include "loop.hpp"

#include <glib-unix.h>

#include <utility>

namespace kv::ctl {

namespace {

// A GLib source owns its callback as user data.

gboolean run_owned(gpointer callback)
{
    bool again = false;
    Loop::guard([&again, callback] { again = (*static_cast<std::function<bool()> *>(callback))(); });
    return again ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}
gboolean run_owned_fd(int, GIOCondition, gpointer callback)
{
    return run_owned(callback);
}
void delete_owned(gpointer callback)
{
    delete static_cast<std::function<bool()> *>(callback);
}
std::function<bool()> *owned(std::function<bool()> callback)
{
    return new std::function<bool()>(std::move(callback));
}

} // namespace

Loop *Loop::running_ = nullptr;

Loop::Loop() : loop_(g_main_loop_new(nullptr, false)) {}

Loop::~Loop()
{
    for (const unsigned source : sources_)
        if (GSource *found = g_main_context_find_source_by_id(nullptr, source))
            g_source_destroy(found);
    g_main_loop_unref(static_cast<GMainLoop *>(loop_));
}

void Loop::run()
{
    Loop *outer = std::exchange(running_, this);
    g_main_loop_run(static_cast<GMainLoop *>(loop_));
    running_ = outer;
    if (thrown_)
        std::rethrow_exception(std::exchange(thrown_, nullptr));
}

void Loop::quit()
{
    g_main_loop_quit(static_cast<GMainLoop *>(loop_));
}

void Loop::guard(const std::function<void()> &callback) noexcept
{
    try {
        callback();
    } catch (...) {
        if (!running_) // no run() that could throw it on
            std::terminate();
        if (!running_->thrown_)
            running_->thrown_ = std::current_exception();
        running_->quit();
    }
}

unsigned Loop::add(unsigned source)
{
    sources_.push_back(source);
    return source;
}

void Loop::on_signal(int number, std::function<void()> callback)
{
    add(g_unix_signal_add_full(G_PRIORITY_HIGH, number, run_owned, owned([callback = std::move(callback)] {
                                   callback();
                                   return true;
                               }),
                               delete_owned));
}

void Loop::after_ms(unsigned milliseconds, std::function<void()> callback)
{
    add(g_timeout_add_full(G_PRIORITY_DEFAULT, milliseconds, run_owned, owned([callback = std::move(callback)] {
                               callback();
                               return false;
                           }),
                           delete_owned));
}

void Loop::on_readable(int fd, std::function<bool()> callback)
{
    add(g_unix_fd_add_full(G_PRIORITY_DEFAULT, fd, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR),
                           run_owned_fd, owned(std::move(callback)), delete_owned));
}

} // namespace kv::ctl
