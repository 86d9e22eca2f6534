// SPDX-License-Identifier: Apache-2.0
#include "end_signals.hpp"

#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

#include <sys/signalfd.h>
#include <unistd.h>

namespace kv::virtual_agent {

namespace {

/// A source that is ready when a signal can be read.
struct SignalSource {
    GSource base;
    GPollFD descriptor;
    gint64 looked_us; // when it looked last without waiting for poll()
    bool has_signal;
};

SignalSource *signal_source(GSource *source)
{
    return reinterpret_cast<SignalSource *>(source);
}

/// If the system refuses poll(), the loop turns without a pause and no descriptor is ever ready. So the source looks for
/// itself, at most once a second.
gboolean prepare(GSource *source, gint *timeout)
{
    SignalSource &state = *signal_source(source);
    *timeout = -1;
    const gint64 now_us = g_source_get_time(source);
    if (now_us - state.looked_us >= G_USEC_PER_SEC) {
        state.looked_us = now_us;
        signalfd_siginfo signal;
        state.has_signal = ::read(state.descriptor.fd, &signal, sizeof signal) > 0;
    }
    return state.has_signal;
}

gboolean check(GSource *source)
{
    const SignalSource &state = *signal_source(source);
    return state.has_signal || state.descriptor.revents != 0;
}

gboolean dispatch(GSource *, GSourceFunc callback, gpointer data)
{
    return callback(data);
}

GSource *new_signal_source(int descriptor)
{
    static GSourceFuncs functions = {prepare, check, dispatch, nullptr, nullptr, nullptr};
    GSource *source = g_source_new(&functions, sizeof(SignalSource));
    SignalSource &state = *signal_source(source);
    state.descriptor = {descriptor, G_IO_IN, 0};
    g_source_add_poll(source, &state.descriptor);
    return source;
}

sigset_t blocked_end_signals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

} // namespace

EndSignals::EndSignals(std::function<void()> end)
{
    const sigset_t signals = blocked_end_signals();
    descriptor_ = ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor_ < 0)
        throw std::system_error{errno, std::generic_category(), "cannot receive signals"};
    source_.attach(new_signal_source(descriptor_), Source::dispatch, [end = std::move(end)] {
        end();
        return false; // the first signal ends the program
    });
}

EndSignals::~EndSignals()
{
    source_.cancel();
    ::close(descriptor_);
}

} // namespace kv::virtual_agent
