// SPDX-License-Identifier: Apache-2.0
#include "child.hpp"

#include "tools/ctl/output/failure.hpp"

#include <glib-unix.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kv::ctl {

namespace {

constexpr int ending_takes_ms = 5000; // for programs that were asked to end

struct Strings {
    std::vector<char *> pointers{};

    explicit Strings(const std::vector<std::string> &texts)
    {
        for (const std::string &text : texts)
            pointers.push_back(
                const_cast<char *>(text.c_str())); // NOLINT(cppcoreguidelines-pro-type-const-cast): GLib only reads
        pointers.push_back(nullptr);
    }
};

struct Strv {
    void operator()(char **texts) const { g_strfreev(texts); }
};

/// Between fork and exec.
void become(void *program)
{
    const auto *wanted = static_cast<const Program *>(program);
    if (wanted->outlives)
        setsid();
    else
        prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (!wanted->in_foreground && !wanted->outlives)
        setpgid(0, 0); // Ctrl-C is for this process, which ends the others in their order
    if (wanted->out_to_error)
        dup2(STDERR_FILENO, STDOUT_FILENO);
}

/// Sources that hold their function.
gboolean run_held(gpointer held)
{
    return (*static_cast<std::function<bool()> *>(held))() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}
gboolean run_held_fd(int, GIOCondition, gpointer held)
{
    return run_held(held);
}
void drop_held(gpointer held)
{
    delete static_cast<std::function<bool()> *>(held);
}
std::function<bool()> *hold(std::function<bool()> function)
{
    return new std::function<bool()>(std::move(function));
}

std::vector<pid_t> children()
{
    std::vector<pid_t> found;
    std::ifstream file{"/proc/self/task/" + std::to_string(getpid()) + "/children"};
    for (pid_t pid = 0; file >> pid;)
        found.push_back(pid);
    return found;
}

/// False when some are still there after that time.
bool await_children(int milliseconds)
{
    const gint64 deadline = g_get_monotonic_time() + gint64{1000} * milliseconds;
    for (;;) {
        while (waitpid(-1, nullptr, WNOHANG) > 0) {
        }
        const std::vector<pid_t> left = children();
        const auto left_ms = static_cast<int>((deadline - g_get_monotonic_time()) / 1000);
        if (left.empty() || left_ms <= 0)
            return left.empty();
        pollfd ended{static_cast<int>(syscall(SYS_pidfd_open, left[0], 0)), POLLIN, 0};
        poll(&ended, 1, left_ms);
        close(ended.fd);
    }
}

} // namespace

pid_t start(const Program &program)
{
    std::unique_ptr<char *, Strv> environment{g_get_environ()};
    for (const auto &[name, value] : program.environment)
        environment.reset(g_environ_setenv(environment.release(), name.c_str(), value.c_str(), true));
    const Strings words{program.words};
    const int flags =
        G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_SEARCH_PATH | (program.in_foreground ? G_SPAWN_CHILD_INHERITS_STDIN : 0);
    const gsize passed = program.passed >= 0 ? 1 : 0;
    GPid pid = 0;
    GError *error = nullptr;
    if (g_spawn_async_with_pipes_and_fds(nullptr, words.pointers.data(), environment.get(),
                                         static_cast<GSpawnFlags>(flags), become,
                                         const_cast<Program *>(&program), // NOLINT: it is read only
                                         -1, program.out, program.err, &program.passed, &program.passed, passed, &pid,
                                         nullptr, nullptr, nullptr, &error))
        return pid;
    const std::unique_ptr<GError, decltype(&g_error_free)> problem{error, g_error_free};
    throw Failure{failed, "cannot run " + program.words[0] + ": " + problem->message};
}

std::string shown_status(int status)
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

void Child::start(const Program &program, std::function<void()> ended)
{
    pid_ = ctl::start(program);
    ended_ = std::move(ended);
    watch_ = g_child_watch_add(
        pid_,
        [](GPid, int status, gpointer data) {
            auto *self = static_cast<Child *>(data);
            self->pid_ = -1;
            self->watch_ = 0;
            self->status_ = status;
            self->ended_();
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

int end_descendants()
{
    int count = 0;
    for (const int number : {SIGTERM, SIGKILL}) {
        // Those that end leave their own children to this process: until none is left.
        for (int round = 0; round < 100 && !children().empty(); ++round) {
            for (const pid_t pid : children()) {
                kill(pid, number);
                count += number == SIGTERM ? 1 : 0;
            }
            if (!await_children(ending_takes_ms))
                break;
        }
    }
    return count;
}

Loop::Loop() : loop_(g_main_loop_new(nullptr, false)) {}

Loop::~Loop()
{
    for (const unsigned source : sources_)
        if (GSource *found = g_main_context_find_source_by_id(nullptr, source))
            g_source_destroy(found);
    g_main_loop_unref(static_cast<GMainLoop *>(loop_));
}

void Loop::run()
{
    g_main_loop_run(static_cast<GMainLoop *>(loop_));
}

void Loop::quit()
{
    g_main_loop_quit(static_cast<GMainLoop *>(loop_));
}

unsigned Loop::add(unsigned source)
{
    sources_.push_back(source);
    return source;
}

void Loop::on_signal(int number, std::function<void()> heard)
{
    add(g_unix_signal_add_full(G_PRIORITY_HIGH, number, run_held, hold([heard = std::move(heard)] {
                                   heard();
                                   return true;
                               }),
                               drop_held));
}

void Loop::after_ms(unsigned milliseconds, std::function<void()> then)
{
    add(g_timeout_add_full(G_PRIORITY_DEFAULT, milliseconds, run_held, hold([then = std::move(then)] {
                               then();
                               return false;
                           }),
                           drop_held));
}

void Loop::on_readable(int fd, std::function<bool()> read)
{
    add(g_unix_fd_add_full(G_PRIORITY_DEFAULT, fd, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR),
                           run_held_fd, hold(std::move(read)), drop_held));
}

} // namespace kv::ctl
