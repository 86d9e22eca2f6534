// SPDX-License-Identifier: Apache-2.0
// kv-run-test SECONDS PROGRAM [ARGUMENT...]
//
// Runs a test and makes sure that no process of it remains. If the test does not end in time, or a signal stops this
// program, all processes below it are killed, including those whose parent has ended. A test that leaves a process
// running fails. Otherwise the exit status is that of the test.
#include "testing/support/child_process.hpp"
#include "testing/support/descendants.hpp"
#include "testing/support/read_file.hpp"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include <sys/prctl.h>
#include <sys/wait.h>

using namespace kv::test;

namespace {

enum ExitStatus { failed = 1, wrong_usage = 2, timed_out = 124 };

/// How long a process may still run after the test has ended, at most until the test's own deadline: one that was asked to
/// end may not have ended yet.
constexpr std::chrono::milliseconds end_timeout{60'000};

void print_children(const char *problem)
{
    std::fprintf(stderr, "kv-run-test: %s:\n", problem);
    for (const pid_t pid : child_processes()) {
        std::string words = read_file("/proc/" + std::to_string(pid) + "/cmdline");
        std::replace(words.begin(), words.end(), '\0', ' ');
        std::fprintf(stderr, "  %d %s\n", pid, words.c_str());
    }
}

/// Reaps orphans that have ended. Returns whether the test has ended; it is not reaped.
bool test_has_ended(pid_t test)
{
    siginfo_t end{};
    while (::waitid(P_ALL, 0, &end, WEXITED | WNOHANG | WNOWAIT) == 0 && end.si_pid != 0) {
        if (end.si_pid == test)
            return true;
        ::waitpid(end.si_pid, nullptr, 0);
        end = {};
    }
    return false;
}

int end_all(ChildProcess &test, const char *reason, int status)
{
    print_children(reason);
    end_descendants();
    test.set_reaped();
    return status;
}

/// Blocks the signals that end a wait; sigtimedwait() receives them.
sigset_t block_signals()
{
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int number : {SIGCHLD, SIGTERM, SIGINT, SIGHUP})
        ::sigaddset(&signals, number);
    ::sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

int run(const Command &command, std::chrono::seconds timeout)
{
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    adopt_orphans();
    const sigset_t signals = block_signals();
    const Deadline deadline{timeout};
    // Not the desktop's message bus: an update of an agent reaches all applications of a bus.
    Command isolated = command;
    isolated.environment["DBUS_SESSION_BUS_ADDRESS"] = std::nullopt;
    isolated.environment["XDG_RUNTIME_DIR"] = std::nullopt;
    // Only a step that fails waits that long.
    isolated.environment["KORVANE_WITHIN_MS"] = "60000";
    ChildProcess test{isolated};
    while (!test_has_ended(test.pid())) {
        if (deadline.has_passed())
            return end_all(test, "the test does not end in time; running processes", timed_out);
        const int left = deadline.milliseconds_left();
        const timespec time{left / 1000, left % 1000 * 1'000'000L};
        const int number = ::sigtimedwait(&signals, nullptr, &time);
        if (number > 0 && number != SIGCHLD)
            return end_all(test, "the test is stopped; running processes", 128 + number);
    }

    const int status = test.wait().value_or(-SIGKILL);
    if (!reap_children(std::min(end_timeout, std::chrono::milliseconds{deadline.milliseconds_left()})))
        return end_all(test, "the test has left processes running", failed);
    if (status < 0)
        std::fprintf(stderr, "kv-run-test: the test was ended by signal %d\n", -status);
    return status < 0 ? 128 - status : status;
}

} // namespace

int main(int argc, char **argv)
{
    const int seconds = argc > 2 ? std::atoi(argv[1]) : 0;
    if (seconds <= 0) {
        std::fprintf(stderr, "usage: kv-run-test SECONDS PROGRAM [ARGUMENT...]\n");
        return wrong_usage;
    }
    try {
        return run({.words = {argv + 2, argv + argc}, .shares_streams = true}, std::chrono::seconds{seconds});
    } catch (const std::system_error &error) {
        std::fprintf(stderr, "kv-run-test: %s\n", error.what());
        return failed;
    }
}
