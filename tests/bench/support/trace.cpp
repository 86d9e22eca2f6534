// SPDX-License-Identifier: Apache-2.0
#include "trace.hpp"

#include "processes.hpp"

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>

#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace kv::test {

namespace {

void count_entry(pid_t pid, SyscallCounts &counts)
{
    __ptrace_syscall_info info{};
    if (ptrace(PTRACE_GET_SYSCALL_INFO, pid, reinterpret_cast<void *>(sizeof info), &info) <= 0 ||
        info.op != PTRACE_SYSCALL_INFO_ENTRY)
        return;
    switch (info.entry.nr) {
    case SYS_sendto:
    case SYS_sendmsg:
    case SYS_write:
    case SYS_writev: ++counts.sends; break;
    case SYS_recvfrom:
    case SYS_recvmsg:
    case SYS_read:
    case SYS_readv: ++counts.receives; break;
    default: ++counts.others;
    }
}

void resume(pid_t pid, int signal = 0)
{
    ptrace(PTRACE_SYSCALL, pid, nullptr, reinterpret_cast<void *>(static_cast<long>(signal)));
}

} // namespace

std::optional<TracedCalls> trace(const std::vector<std::string> &command, pid_t server)
{
    TracedCalls counts;
    const std::unique_ptr<ChildProcess> client = start(command, {{"BENCH_TRACE", "1"}});
    const auto wait_for = [](pid_t pid, int &status) {
        if (waitpid(pid, &status, __WALL) < 0)
            throw std::system_error(errno, std::generic_category(), "waitpid");
    };

    // A client that cannot be traced does not stop: it runs to its end.
    int status = 0;
    wait_for(client->pid(), status);
    if (!WIFSTOPPED(status)) {
        client->set_reaped();
        return std::nullopt;
    }
    if (ptrace(PTRACE_SETOPTIONS, client->pid(), nullptr, PTRACE_O_TRACESYSGOOD) != 0 ||
        ptrace(PTRACE_SEIZE, server, nullptr, PTRACE_O_TRACESYSGOOD) != 0)
        return std::nullopt;
    ptrace(PTRACE_INTERRUPT, server, nullptr, nullptr);
    wait_for(server, status);
    resume(server);
    resume(client->pid());

    for (bool stopped_again = false; !stopped_again;) {
        const pid_t pid = waitpid(-1, &status, __WALL);
        if (pid < 0 || !WIFSTOPPED(status))
            throw std::runtime_error("a traced process ended early");
        const bool is_client = pid == client->pid();
        if (WSTOPSIG(status) == (SIGTRAP | 0x80)) {
            count_entry(pid, is_client ? counts.client : counts.server);
            resume(pid);
        } else if (is_client && WSTOPSIG(status) == SIGSTOP) {
            stopped_again = true;
        } else {
            const bool is_event = status >> 16 != 0;
            resume(pid, is_event ? 0 : WSTOPSIG(status));
        }
    }
    ptrace(PTRACE_DETACH, client->pid(), nullptr, nullptr);
    rest_of_output(*client);
    return counts;
}

} // namespace kv::test
