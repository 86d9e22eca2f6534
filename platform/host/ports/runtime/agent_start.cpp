// SPDX-License-Identifier: Apache-2.0
#include "agent_start.hpp"

#include <fcntl.h>
#include <glib.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

#include "platform/host/log/log.hpp"
#include "platform/host/packages/package_entry.hpp"

namespace kv::host {
namespace {

// From here to exec: only functions that are safe between fork and exec in a program with threads.

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
    struct sigaction default_action = {};
    default_action.sa_handler = SIG_DFL;
    for (int number = 1; number < NSIG; number++)
        sigaction(number, &default_action, nullptr);
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
    const int null_device = open("/dev/null", O_RDWR);
    if (null_device < 0)
        report(report_to);
    // The descriptor of the report moves above the three that are replaced. A successful exec closes it.
    const int kept = fcntl(report_to, F_DUPFD_CLOEXEC, 3);
    if (kept < 0)
        report(report_to);
    for (int standard = 0; standard < 3; standard++)
        dup2(null_device, standard);
    close_from(3, kept);
    reset_signals();
    if (chdir("/") != 0)
        report(kept);
    execv(arguments[0], arguments);
    report(kept);
}

// The process between the application and the agent. It reports the agent's process number and stays until the
// application has opened that process: until then the number cannot belong to another one, because the agent has a
// parent that does not collect it. Then it ends, and init becomes the agent's parent.
[[noreturn]] void become_intermediate(char *const *arguments, int report_to)
{
    setsid();
    const pid_t agent = _Fork();
    if (agent == 0)
        become_agent(arguments, report_to);
    if (agent < 0)
        report(report_to);
    const int message = -agent;
    [[maybe_unused]] const ssize_t written = write(report_to, &message, sizeof message);
    char byte;
    while (read(report_to, &byte, 1) < 0 && errno == EINTR) {
    }
    _exit(0);
}

/// Reads a message; false at the end of the reports.
bool read_report(int report_from, int *message)
{
    ssize_t size;
    do {
        size = read(report_from, message, sizeof *message);
    } while (size < 0 && errno == EINTR);
    return size == static_cast<ssize_t>(sizeof *message);
}

// The intermediate process sends the agent's process number, negated; a failed fork or exec sends its errno. The
// reports end when exec has succeeded, or failed, and the intermediate process has ended.
int follow_start(int reports, pid_t intermediate, Fd *process)
{
    int error = 0;
    for (int message = 0; read_report(reports, &message);) {
        if (message > 0) {
            error = message;
            continue;
        }
        process->reset(static_cast<int>(syscall(SYS_pidfd_open, -message, 0)));
        shutdown(reports, SHUT_WR); // lets the intermediate process end
    }
    while (waitpid(intermediate, nullptr, 0) < 0 && errno == EINTR) {
    }
    if (error != 0)
        process->reset();
    return -error;
}

int run_detached(char *const *arguments, Fd *process)
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        return -errno;
    const Fd reports{ends[0]};
    Fd report_to{ends[1]};
    // Blocked, because no handler of the application may run in the child before its signals are reset.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before);
    const pid_t intermediate = fork();
    if (intermediate == 0) {
        close(reports.get());
        become_intermediate(arguments, report_to.get());
    }
    const int fork_error = errno;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    report_to.reset();
    return intermediate < 0 ? -fork_error : follow_start(reports.get(), intermediate, process);
}

/// The executable and its arguments, ended by NULL; released with g_strfreev. Null after an error line.
char **argument_list(const char *appid, const char *executable, const char *arguments)
{
    g_auto(GStrv) parsed = nullptr;
    g_autoptr(GError) error = nullptr;
    if (arguments && arguments[0] && !g_shell_parse_argv(arguments, nullptr, &parsed, &error)) {
        dlog_print(log_error, log_tag, "package %s: cannot parse its arguments '%s': %s; correct the package entry",
                   appid, arguments, error->message);
        return nullptr;
    }
    g_autoptr(GStrvBuilder) list = g_strv_builder_new();
    g_strv_builder_add(list, executable);
    if (parsed)
        g_strv_builder_addv(list, const_cast<const char **>(parsed));
    return g_strv_builder_end(list);
}

} // namespace

bool agent_is_startable(const char *appid)
{
    PackageEntry entry;
    if (entry.open(appid) != 0)
        return false;
    const CText executable = entry.string(package_key::executable);
    return executable && *executable;
}

int start_agent(const char *appid, Fd *process)
{
    PackageEntry entry;
    if (entry.open(appid) != 0)
        return -ENOENT;
    const CText executable = entry.string(package_key::executable);
    if (!executable || !*executable)
        return -ENOENT;
    const CText arguments = entry.string(package_key::arguments);
    g_auto(GStrv) list = argument_list(appid, executable.get(), arguments.get());
    if (!list)
        return -EINVAL;
    const int result = run_detached(list, process);
    if (result != 0)
        dlog_print(log_error, log_tag, "package %s: cannot start %s: %s", appid, executable.get(), strerror(-result));
    else
        dlog_print(log_info, log_tag, "package %s: started %s", appid, executable.get());
    return result;
}

} // namespace kv::host
