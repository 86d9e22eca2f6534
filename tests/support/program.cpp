// SPDX-License-Identifier: Apache-2.0
#include "program.hpp"

#include "agent_process.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kv::test {

namespace {

using Clock = std::chrono::steady_clock;

int milliseconds_until(Clock::time_point deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

void close_once(int &fd)
{
    if (fd >= 0)
        ::close(fd);
    fd = -1;
}

/// Takes what has arrived; closes the descriptor at its end.
void take(int &fd, std::string &text)
{
    char bytes[4096];
    const ssize_t count = ::read(fd, bytes, sizeof bytes);
    if (count > 0)
        text.append(bytes, static_cast<std::size_t>(count));
    else
        close_once(fd);
}

} // namespace

Program::Program(std::string path, std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), path);
    std::vector<char *> argv;
    for (std::string &argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    int out[2];
    int err[2];
    if (::pipe2(out, O_CLOEXEC) != 0 || ::pipe2(err, O_CLOEXEC) != 0)
        throw std::runtime_error{"no pipe"};
    const pid_t test = ::getpid();
    pid_ = ::fork();
    if (pid_ == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != test)
            ::_exit(126);
        ::dup2(out[1], STDOUT_FILENO);
        ::dup2(err[1], STDERR_FILENO);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    ::close(out[1]);
    ::close(err[1]);
    out_fd_ = out[0];
    err_fd_ = err[0];
}

Program::~Program()
{
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
    close_once(out_fd_);
    close_once(err_fd_);
}

bool Program::read_some(int milliseconds)
{
    pollfd open[] = {{out_fd_, POLLIN, 0}, {err_fd_, POLLIN, 0}}; // poll() passes over closed ones
    if ((out_fd_ < 0 && err_fd_ < 0) || ::poll(open, 2, milliseconds) <= 0)
        return false;
    if (open[0].revents)
        take(out_fd_, out_);
    if (open[1].revents)
        take(err_fd_, err_);
    return true;
}

int Program::said(const std::string &text) const
{
    int times = 0;
    for (std::size_t at = out_.find(text); at != std::string::npos; at = out_.find(text, at + text.size()))
        ++times;
    return times;
}

bool Program::says(const std::string &text, int times, const char *file, int at)
{
    const auto deadline = Clock::now() + std::chrono::milliseconds{deadline_ms};
    while (said(text) < times) {
        if (read_some(milliseconds_until(deadline)))
            continue;
        ADD_FAILURE_AT(file, at) << "'" << text << "' does not come " << times << "x in\n" << out_ << err_;
        return false;
    }
    return true;
}

void Program::signal(int number) const
{
    ::kill(pid_, number);
}

int Program::wait(const char *file, int at)
{
    const auto deadline = Clock::now() + std::chrono::milliseconds{deadline_ms};
    while (read_some(milliseconds_until(deadline))) {
    }
    if (out_fd_ >= 0 || err_fd_ >= 0) {
        ADD_FAILURE_AT(file, at) << "it does not end:\n" << out_ << err_;
        return -1;
    }
    // Its descriptors are closed: it is about to end.
    int status = 0;
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

} // namespace kv::test
