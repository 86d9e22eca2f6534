// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib.h>

#include <functional>

namespace kv::virtual_agent {

/// Runs `step` and prints an exception on stderr. GLib, libsoup and the platform are C: an exception that crosses their
/// frames ends the process, so every callback that they run goes through here.
void contain(const std::function<void()> &step) noexcept;

/// One source of the GLib main loop: a timer, an idle call or a watched file descriptor. It is removed when the object
/// is destroyed, which may happen inside its own call. Setting it again replaces it.
class Source {
public:
    /// Returns false to remove the source.
    using Call = std::function<bool()>;

    Source() = default;
    Source(const Source &) = delete;
    Source &operator=(const Source &) = delete;
    ~Source() { cancel(); }

    /// Calls once, after that many milliseconds.
    void call_after(unsigned milliseconds, std::function<void()> call);
    /// Calls once, as soon as the main loop has nothing of a higher priority to do.
    void call_soon(std::function<void()> call, int priority = G_PRIORITY_DEFAULT);
    /// Calls whenever the descriptor is in one of the conditions, until the call returns false. `POLLRDHUP` is a
    /// condition as well.
    void watch(int fd, int conditions, Call call, int priority = G_PRIORITY_DEFAULT);
    /// Calls whenever `source` is ready; takes over the caller's reference to it.
    void attach(GSource *source, GSourceFunc dispatch, Call call, int priority = G_PRIORITY_DEFAULT);
    /// The dispatch function for attach() of a source with a plain callback.
    static gboolean dispatch(gpointer state);

    void cancel();
    bool is_active() const { return source_ != nullptr; }

private:
    struct State;
    void start(GSource *source, GSourceFunc dispatch, State *state, int priority);
    void start_once(GSource *source, std::function<void()> call, int priority);

    GSource *source_ = nullptr;
    State *state_ = nullptr; // owned by the source
};

} // namespace kv::virtual_agent
