// SPDX-License-Identifier: Apache-2.0
#include "child.hpp"

#include "loop.hpp"
#include "tools/ctl/output/failure.hpp"

#include <glib-unix.h>

#include <csignal>
#include <cstring>
#include <fstream>
#include <memory>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kv::ctl {

namespace {

constexpr int end_timeout_ms = 5000; // after SIGTERM
constexpr int max_rounds = 100;      // of signals to descendants that keep starting others

/// A NULL-terminated array of pointers into texts, as exec() takes it.
struct Argv {
    std::vector<char *> pointers{};

    explicit Argv(const std::vector<std::string> &texts)
    {
        for (const std::string &text : texts)
            pointers.push_back(
                const_cast<char *>(text.c_str())); // NOLINT(cppcoreguidelines-pro-type-const-cast): GLib only reads
        pointers.push_back(nullptr);
    }
};

struct FreeStrv {
    void operator()(char **texts) const { g_strfreev(texts); }
};

/// Prepares the child between fork and exec.
void prepare_child(void *data)
{
    const auto *program = static_cast<const Program *>(data);
    if (program->outlives)
        setsid();
    else
        prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (!program->in_foreground && !program->outlives)
        setpgid(0, 0); // Ctrl-C must reach this process only, which ends the others in the right order
    if (program->out_to_error)
        dup2(STDERR_FILENO, STDOUT_FILENO);
}

std::vector<pid_t> children()
{
    std::vector<pid_t> found;
    std::ifstream file{"/proc/self/task/" + std::to_string(getpid()) + "/children"};
    for (pid_t pid = 0; file >> pid;)
        found.push_back(pid);
    return found;
}

void reap_ended()
{
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
}

/// Waits until no child is left. Returns false if some still run after that time.
bool await_children(int milliseconds)
{
    const gint64 deadline = g_get_monotonic_time() + gint64{1000} * milliseconds;
    for (;;) {
        reap_ended();
        const std::vector<pid_t> left = children();
        const auto left_ms = static_cast<int>((deadline - g_get_monotonic_time()) / 1000);
        if (left.empty() || left_ms <= 0)
            return left.empty();
        pollfd ended{static_cast<int>(syscall(SYS_pidfd_open, left[0], 0)), POLLIN, 0};
        poll(&ended, 1, left_ms);
        close(ended.fd);
    }
}

/// A child that ends leaves its own children to this process, so signals are sent in rounds until none is left.
void end_children_with(int number)
{
    for (int round = 0; round < max_rounds && !children().empty(); ++round) {
        for (const pid_t pid : children())
            kill(pid, number);
        if (!await_children(end_timeout_ms))
            return;
    }
}

} // namespace

pid_t start(const Program &program)
{
    std::unique_ptr<char *, FreeStrv> environment{g_get_environ()};
    for (const auto &[name, value] : program.environment)
        environment.reset(g_environ_setenv(environment.release(), name.c_str(), value.c_str(), true));
    const Argv argv{program.words};
    const int flags =
        G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_SEARCH_PATH | (program.in_foreground ? G_SPAWN_CHILD_INHERITS_STDIN : 0);
    const gsize inherited = program.inherited >= 0 ? 1 : 0;
    GPid pid = 0;
    GError *error = nullptr;
    if (g_spawn_async_with_pipes_and_fds(nullptr, argv.pointers.data(), environment.get(),
                                         static_cast<GSpawnFlags>(flags), prepare_child,
                                         const_cast<Program *>(&program), // NOLINT: it is only read
                                         -1, program.out, program.err, &program.inherited, &program.inherited,
                                         inherited, &pid, nullptr, nullptr, nullptr, &error))
        return pid;
    const std::unique_ptr<GError, decltype(&g_error_free)> problem{error, g_error_free};
    throw Failure{failed, "cannot run " + program.words[0] + ": " + problem->message};
}

Captured capture(const std::vector<std::string> &words)
{
    Argv argv{words};
    char *out = nullptr;
    char *err = nullptr;
    int status = 0;
    GError *error = nullptr;
    if (!g_spawn_sync(nullptr, argv.pointers.data(), nullptr, G_SPAWN_SEARCH_PATH, nullptr, nullptr, &out, &err,
                      &status, &error)) {
        const std::unique_ptr<GError, decltype(&g_error_free)> problem{error, g_error_free};
        throw Failure{failed, "cannot run " + words[0] + ": " + problem->message};
    }
    const std::unique_ptr<char, decltype(&g_free)> owned_out{out, g_free};
    const std::unique_ptr<char, decltype(&g_free)> owned_err{err, g_free};
    return {out, err, status};
}

std::string status_text(int status)
{
    if (WIFEXITED(status))
        return "exit status " + std::to_string(WEXITSTATUS(status));
    return "signal " + std::to_string(WTERMSIG(status)) + " (" + strsignal(WTERMSIG(status)) + ")";
}

Child::~Child()
{
    if (watch_ != 0)
        g_source_remove(watch_);
    if (!runs())
        return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

void Child::start(const Program &program, std::function<void()> on_exit)
{
    pid_ = ctl::start(program);
    on_exit_ = std::move(on_exit);
    watch_ = g_child_watch_add(
        pid_,
        [](GPid, int status, gpointer data) {
            auto *self = static_cast<Child *>(data);
            self->pid_ = -1;
            self->watch_ = 0;
            self->status_ = status;
            Loop::guard(self->on_exit_);
        },
        this);
}

void Child::signal(int number) const
{
    if (runs())
        kill(pid_, number);
}

void adopt_descendants()
{
    prctl(PR_SET_CHILD_SUBREAPER, 1);
}

void end_descendants()
{
    end_children_with(SIGTERM);
    end_children_with(SIGKILL);
}

} // namespace kv::ctl
