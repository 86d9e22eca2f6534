// SPDX-License-Identifier: Apache-2.0
#include "child.hpp"

#include "testing/support/wait.hpp"

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace kv::test {

namespace {

[[noreturn]] void run_body(const Environment &environment, const std::function<void()> &body)
{
    for (const auto &[name, value] : environment)
        value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
    body();
    _exit(testing::Test::HasFailure() ? 1 : 0);
}

} // namespace

std::string ChildResult::text() const
{
    std::string all;
    for (const std::string &write : writes)
        all += write;
    return all;
}

std::vector<std::string> ChildResult::lines() const
{
    std::istringstream stream(text());
    std::vector<std::string> found;
    for (std::string line; std::getline(stream, line);)
        found.push_back(line);
    return found;
}

ChildResult in_child(const Environment &environment, const std::function<void()> &body)
{
    // A packet socket preserves the boundaries of the child's writes.
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        throw std::runtime_error("socketpair");
    const int large = 4 << 20;
    setsockopt(ends[1], SOL_SOCKET, SO_SNDBUFFORCE, &large, sizeof large);

    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        run_body(environment, body);
    }
    close(ends[1]);

    ChildResult result;
    std::vector<char> packet(2 << 20);
    const Deadline deadline{test_timeout};
    for (;;) {
        pollfd readable{ends[0], POLLIN, 0};
        if (deadline.has_passed() || poll(&readable, 1, deadline.milliseconds_left()) == 0) {
            kill(child, SIGKILL);
            ADD_FAILURE() << "the child does not end";
            break;
        }
        const ssize_t size = recv(ends[0], packet.data(), packet.size(), 0);
        if (size <= 0)
            break;
        result.writes.emplace_back(packet.data(), static_cast<std::size_t>(size));
    }
    close(ends[0]);
    waitpid(child, &result.status, 0);
    return result;
}

} // namespace kv::test
