// SPDX-License-Identifier: Apache-2.0
#include "end_signals.hpp"

#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace kv::virtual_agent {

namespace {

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
    source_.watch(descriptor_, POLLIN, [this, end = std::move(end)] {
        signalfd_siginfo signal;
        end(); // which signal has arrived, and whether it can be read, does not matter
        return ::read(descriptor_, &signal, sizeof signal) == sizeof signal;
    });
}

EndSignals::~EndSignals()
{
    source_.cancel();
    ::close(descriptor_);
}

} // namespace kv::virtual_agent
