// SPDX-License-Identifier: Apache-2.0
#include "agent_start.hpp"

#include <fcntl.h>
#include <glib.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "platform/host/log/log.hpp"
#include "platform/host/packages/package_entry.hpp"

namespace kv::host {
namespace {

// From here to exec only what is safe between fork and exec in a program with threads.

void close_from(int first, int kept)
{
    if ((kept == first || syscall(SYS_close_range, first, kept - 1, 0) == 0) &&
        syscall(SYS_close_range, kept + 1, UINT_MAX, 0) == 0)
        return;
    const long limit = sysconf(_SC_OPEN_MAX);
    for (int descriptor = first; descriptor < limit; descriptor++)
        if (descriptor != kept)
            close(descriptor);
}

void reset_signals()
{
    struct sigaction by_default = {};
    by_default.sa_handler = SIG_DFL;
    for (int number = 1; number < NSIG; number++)
        sigaction(number, &by_default, nullptr);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

[[noreturn]] void report(int report_to)
{
    const int error = errno;
    [[maybe_unused]] const ssize_t written = write(report_to, &error, sizeof error);
    _exit(127);
}

[[noreturn]] void become_agent(char *const *arguments, int report_to)
{
    setsid();
    const pid_t agent = _Fork();
    if (agent < 0)
        report(report_to);
    if (agent > 0)
        _exit(0); // the agent is nobody's child now
    const int nowhere = open("/dev/null", O_RDWR);
    if (nowhere < 0)
        report(report_to);
    // The report's descriptor goes above the three that are replaced, and is closed by a successful exec.
    const int kept = fcntl(report_to, F_DUPFD_CLOEXEC, 3);
    if (kept < 0)
        report(report_to);
    for (int standard = 0; standard < 3; standard++)
        dup2(nowhere, standard);
    close_from(3, kept);
    reset_signals();
    if (chdir("/") != 0)
        report(kept);
    execv(arguments[0], arguments);
    report(kept);
}

// Waits until exec has succeeded (the pipe closes) or failed (its errno comes).
int wait_for_exec(int report_from, pid_t between)
{
    int error = 0;
    ssize_t got;
    do {
        got = read(report_from, &error, sizeof error);
    } while (got < 0 && errno == EINTR);
    while (waitpid(between, nullptr, 0) < 0 && errno == EINTR) {
    }
    return got == static_cast<ssize_t>(sizeof error) ? -error : 0;
}

int run_detached(char *const *arguments)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return -errno;
    // No handler of the application may run in the child before its signals are reset.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before);
    const pid_t between = fork();
    if (between == 0) {
        close(ends[0]);
        become_agent(arguments, ends[1]);
    }
    const int fork_error = errno;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    close(ends[1]);
    const int result = between < 0 ? -fork_error : wait_for_exec(ends[0], between);
    close(ends[0]);
    return result;
}

int make_arguments(const char *appid, const char *executable, const char *further, char ***arguments)
{
    int count = 0;
    char **parsed = nullptr;
    GError *error = nullptr;
    if (further && further[0] && !g_shell_parse_argv(further, &count, &parsed, &error)) {
        dlog_print(log_error, log_tag, "package %s: its arguments '%s' cannot be read: %s", appid, further,
                   error->message);
        g_error_free(error);
        return -EINVAL;
    }
    *arguments = g_new0(char *, static_cast<size_t>(count) + 2);
    (*arguments)[0] = g_strdup(executable);
    for (int i = 0; i < count; i++)
        (*arguments)[i + 1] = parsed[i];
    g_free(parsed);
    return 0;
}

} // namespace

bool agent_is_startable(const char *appid)
{
    PackageEntry entry;
    if (entry.open(appid) != 0)
        return false;
    char *executable = entry.string(package_key::executable);
    const bool startable = executable && executable[0];
    free(executable);
    return startable;
}

int start_agent(const char *appid)
{
    PackageEntry entry;
    if (entry.open(appid) != 0)
        return -ENOENT;
    char *executable = entry.string(package_key::executable);
    if (!executable || !executable[0]) {
        free(executable);
        return -ENOENT;
    }
    char *further = entry.string(package_key::arguments);
    char **arguments = nullptr;
    int result = make_arguments(appid, executable, further, &arguments);
    if (result == 0) {
        result = run_detached(arguments);
        g_strfreev(arguments);
        if (result != 0)
            dlog_print(log_error, log_tag, "package %s: cannot start %s: %s", appid, executable, strerror(-result));
        else
            dlog_print(log_info, log_tag, "package %s: started %s", appid, executable);
    }
    free(further);
    free(executable);
    return result;
}

} // namespace kv::host
