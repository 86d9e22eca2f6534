// SPDX-License-Identifier: Apache-2.0
#include "descendants.hpp"

#include "file_descriptor.hpp"
#include "wait.hpp"

#include <csignal>
#include <fstream>
#include <set>
#include <string>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kv::test {

namespace {

constexpr std::chrono::milliseconds end_timeout{5000}; // for programs that were asked to end

void reap_ended()
{
    while (::waitpid(-1, nullptr, WNOHANG) > 0) {
    }
}

void wait_for_any_end(const std::vector<pid_t> &children, const Deadline &deadline)
{
    std::vector<FileDescriptor> processes;
    std::vector<pollfd> ends;
    for (const pid_t pid : children) {
        processes.emplace_back(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
        ends.push_back({processes.back().get(), POLLIN, 0});
    }
    ::poll(ends.data(), ends.size(), deadline.milliseconds_left());
}

} // namespace

void adopt_orphans()
{
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
}

std::vector<pid_t> child_processes()
{
    std::vector<pid_t> found;
    std::ifstream file{"/proc/self/task/" + std::to_string(::getpid()) + "/children"};
    for (pid_t pid = 0; file >> pid;)
        found.push_back(pid);
    return found;
}

bool reap_children(std::chrono::milliseconds timeout)
{
    const Deadline deadline{timeout};
    for (;;) {
        reap_ended();
        const std::vector<pid_t> running = child_processes();
        if (running.empty() || deadline.has_passed())
            return running.empty();
        wait_for_any_end(running, deadline);
    }
}

int end_descendants()
{
    std::set<pid_t> all;
    for (const int number : {SIGTERM, SIGKILL}) {
        const Deadline deadline{end_timeout};
        std::set<pid_t> signalled;
        for (;;) {
            reap_ended();
            // The children of a process that has ended are children of this one now.
            const std::vector<pid_t> running = child_processes();
            if (running.empty())
                return static_cast<int>(all.size());
            if (deadline.has_passed())
                break;
            for (const pid_t pid : running)
                if (signalled.insert(pid).second)
                    ::kill(pid, number);
            all.insert(running.begin(), running.end());
            wait_for_any_end(running, deadline);
        }
    }
    return static_cast<int>(all.size());
}

} // namespace kv::test
