// SPDX-License-Identifier: Apache-2.0
#include "process.hpp"

#include <glib-unix.h>

#include <cerrno>
#include <csignal>
#include <memory>
#include <stdexcept>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kv::testing_agent {

namespace {

constexpr unsigned look_again_ms = 5;

/// A test must not end because its agent has.
class WithoutSigpipe {
public:
    WithoutSigpipe() { ::pthread_sigmask(SIG_BLOCK, &pipe_, &former_); }
    WithoutSigpipe(const WithoutSigpipe &) = delete;
    WithoutSigpipe &operator=(const WithoutSigpipe &) = delete;
    ~WithoutSigpipe()
    {
        if (sigismember(&former_, SIGPIPE) == 1)
            return;
        const timespec at_once{};
        while (::sigtimedwait(&pipe_, nullptr, &at_once) == -1 && errno == EINTR) {
        }
        ::pthread_sigmask(SIG_SETMASK, &former_, nullptr);
    }

private:
    static sigset_t only_pipe()
    {
        sigset_t set;
        ::sigemptyset(&set);
        ::sigaddset(&set, SIGPIPE);
        return set;
    }

    sigset_t pipe_ = only_pipe();
    sigset_t former_{};
};

} // namespace

Process::Process(const std::vector<std::string> &arguments, const std::string &error_file)
{
    std::vector<const char *> argv;
    for (const std::string &argument : arguments)
        argv.push_back(argument.c_str());
    argv.push_back(nullptr);
    const int error_fd = ::open(error_file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    GError *error = nullptr;
    const auto flags = static_cast<GSpawnFlags>(G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_SEARCH_PATH);
    const bool started =
        g_spawn_async_with_pipes_and_fds(nullptr, argv.data(), nullptr, flags, nullptr, nullptr, -1, -1, error_fd,
                                         nullptr, nullptr, 0, &pid_, &in_, &out_, nullptr, &error);
    if (error_fd >= 0)
        ::close(error_fd);
    if (!started) {
        const std::unique_ptr<GError, decltype(&g_error_free)> owned{error, g_error_free};
        throw std::runtime_error{owned->message};
    }
    g_unix_set_fd_nonblocking(out_, true, nullptr);
}

Process::~Process()
{
    if (pid_ <= 0)
        return;
    ::close(in_);
    ::kill(pid_, SIGKILL); // it has nothing to lose, and a test nothing to wait for
    while (::waitpid(pid_, nullptr, 0) == -1 && errno == EINTR) {
    }
    ::close(out_);
    g_spawn_close_pid(pid_);
}

bool Process::write_line(const std::string &line)
{
    const WithoutSigpipe quiet;
    const std::string whole = line + "\n";
    for (std::size_t done = 0; done < whole.size();) {
        const ssize_t count = ::write(in_, whole.data() + done, whole.size() - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

std::optional<std::string> Process::read_line()
{
    for (char bytes[4096]; !ended_;) {
        const ssize_t count = ::read(out_, bytes, sizeof bytes);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            break;
        ended_ = count == 0;
        pending_.append(bytes, static_cast<std::size_t>(count));
    }
    const std::size_t end = pending_.find('\n');
    if (end == std::string::npos)
        return std::nullopt;
    std::string line = pending_.substr(0, end);
    pending_.erase(0, end + 1);
    return line;
}

long long now_ms()
{
    return g_get_monotonic_time() / 1000;
}

void iterate_once()
{
    GMainContext *context = g_main_context_get_thread_default();
    GSource *alarm = g_timeout_source_new(look_again_ms);
    g_source_set_callback(
        alarm, [](gpointer) -> gboolean { return G_SOURCE_REMOVE; }, nullptr, nullptr);
    g_source_attach(alarm, context);
    g_main_context_iteration(context, true);
    g_source_destroy(alarm);
    g_source_unref(alarm);
}

} // namespace kv::testing_agent
