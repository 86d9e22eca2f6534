// SPDX-License-Identifier: Apache-2.0
#include "child_process.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kv::test {

namespace {

[[noreturn]] void fail(int error, const std::string &action)
{
    throw std::system_error{error, std::generic_category(), action};
}

struct Ends {
    FileDescriptor ours;
    FileDescriptor childs;
};

/// A pipe from the child; this process's end does not block.
Ends make_pipe()
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        fail(errno, "cannot make a pipe");
    ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
    return {FileDescriptor{ends[0]}, FileDescriptor{ends[1]}};
}

/// A connection to the child. Unlike a pipe it can be written without SIGPIPE.
Ends make_input()
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        fail(errno, "cannot make a socket pair");
    return {FileDescriptor{ends[0]}, FileDescriptor{ends[1]}};
}

std::vector<std::string> environment_with(const std::map<std::string, std::optional<std::string>> &changes)
{
    std::vector<std::string> all;
    for (char **entry = environ; *entry; ++entry) {
        const std::string_view text{*entry};
        if (!changes.contains(std::string{text.substr(0, text.find('='))}))
            all.emplace_back(text);
    }
    for (const auto &[name, value] : changes)
        if (value)
            all.push_back(name + "=" + *value);
    return all;
}

/// The array that exec takes. The texts must outlive it.
std::vector<char *> pointers_to(std::vector<std::string> &texts)
{
    std::vector<char *> pointers;
    for (std::string &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

using StandardStreams = std::array<int, 3>;
constexpr StandardStreams own_streams = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};

/// In the child: connects its standard streams, and has the kernel kill it with its parent.
void set_up_child(pid_t parent, const StandardStreams &streams)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent)
        ::_exit(127);
    for (std::size_t stream = 0; stream < streams.size(); ++stream)
        ::dup2(streams[stream], own_streams[stream]);
}

/// Starts a program. On failure returns -1 and sets `error`.
///
/// With vfork() the new process shares the memory of this one until it executes the program. So starting takes the same
/// time however large this process is, which the benchmarks rely on, and a failure is reported through a variable. No
/// handler of this process may run meanwhile, therefore all signals are blocked.
pid_t start_program(char **words, char **environment, const StandardStreams &streams, volatile int &error)
{
    sigset_t all;
    sigset_t none;
    sigset_t previous;
    ::sigfillset(&all);
    ::sigemptyset(&none);
    ::pthread_sigmask(SIG_SETMASK, &all, &previous);
    const pid_t parent = ::getpid();
    const pid_t child = ::vfork();
    if (child == 0) {
        set_up_child(parent, streams);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        ::execvpe(words[0], words, environment);
        error = errno;
        ::_exit(127);
    }
    const int problem = errno;
    ::pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    if (child < 0)
        error = problem;
    return child;
}

/// Appends what has arrived. Closes the descriptor at the end of the stream. Returns false if nothing was available.
bool read_available(FileDescriptor &from, std::string &text)
{
    char bytes[16 * 1024];
    const ssize_t count = ::read(from.get(), bytes, sizeof bytes);
    if (count > 0)
        text.append(bytes, static_cast<std::size_t>(count));
    else if (count == 0 || (errno != EAGAIN && errno != EINTR))
        from.close();
    return count > 0;
}

void reap(pid_t pid)
{
    // A traced process may have stops to report before its end.
    int status = 0;
    for (pid_t reported = 0; (reported = ::waitpid(pid, &status, 0)) != -1 || errno == EINTR;)
        if (reported == pid && !WIFSTOPPED(status))
            return;
}

FileDescriptor open_process(pid_t pid)
{
    FileDescriptor process{static_cast<int>(::syscall(SYS_pidfd_open, pid, 0))};
    if (!process.is_open())
        fail(errno, "cannot watch process " + std::to_string(pid));
    return process;
}

/// The exit status of a child that has ended and is not reaped.
int exit_status_of(pid_t child)
{
    siginfo_t end{};
    if (::waitid(P_PID, static_cast<id_t>(child), &end, WEXITED | WNOWAIT) != 0)
        fail(errno, "cannot wait for process " + std::to_string(child));
    return end.si_code == CLD_EXITED ? end.si_status : -end.si_status;
}

} // namespace

struct ChildProcess::Streams {
    Ends input{};
    Ends output{};
    Ends errors{};

    static Streams make() { return {make_input(), make_pipe(), {}}; }

    StandardStreams of_child() const
    {
        StandardStreams streams = own_streams;
        const Ends *ends[] = {&input, &output, &errors};
        for (std::size_t stream = 0; stream < streams.size(); ++stream)
            if (ends[stream]->childs.is_open())
                streams[stream] = ends[stream]->childs.get();
        return streams;
    }
};

ChildProcess::ChildProcess(const Command &command)
{
    std::vector<std::string> words = command.words;
    std::vector<std::string> environment = environment_with(command.environment);
    Streams streams;
    if (!command.shares_streams) {
        streams = Streams::make();
        if (!command.error_file.empty())
            streams.errors.childs =
                FileDescriptor{::open(command.error_file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600)};
        else if (command.captures_errors)
            streams.errors = make_pipe();
    }

    volatile int error = 0;
    pid_ = start_program(pointers_to(words).data(), pointers_to(environment).data(), streams.of_child(), error);
    if (error != 0) {
        if (pid_ > 0)
            reap(pid_);
        fail(error, "cannot run " + words[0]);
    }
    watch(std::move(streams));
}

ChildProcess::ChildProcess(const std::function<int()> &body)
{
    Streams streams = Streams::make();
    streams.errors = make_pipe();
    const pid_t parent = ::getpid();
    pid_ = ::fork();
    if (pid_ < 0)
        fail(errno, "cannot fork");
    if (pid_ == 0) {
        set_up_child(parent, streams.of_child());
        streams = {}; // closes the copies
        const int status = body();
        std::fflush(stdout);
        ::_exit(status);
    }
    watch(std::move(streams));
}

void ChildProcess::watch(Streams streams)
{
    process_ = open_process(pid_);
    input_ = std::move(streams.input.ours);
    output_pipe_ = std::move(streams.output.ours);
    error_pipe_ = std::move(streams.errors.ours);
}

ChildProcess::~ChildProcess()
{
    if (pid_ <= 0)
        return;
    ::kill(pid_, SIGKILL);
    reap(pid_);
}

void ChildProcess::signal(int number) const
{
    if (pid_ > 0)
        ::kill(pid_, number);
}

bool ChildProcess::write_line(const std::string &line)
{
    const std::string whole = line + "\n";
    for (std::size_t done = 0; done < whole.size();) {
        const ssize_t count = ::send(input_.get(), whole.data() + done, whole.size() - done, MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

/// Waits until something arrives or ends. Returns false if nothing does within the timeout, or both streams have ended.
bool ChildProcess::read_some(int timeout_ms)
{
    pollfd streams[] = {{output_pipe_.get(), POLLIN, 0}, {error_pipe_.get(), POLLIN, 0}}; // poll() ignores closed ones
    if (!output_pipe_.is_open() && !error_pipe_.is_open())
        return false;
    const int ready = ::poll(streams, 2, timeout_ms);
    if (ready <= 0)
        return ready < 0 && errno == EINTR;
    if (streams[0].revents != 0)
        read_available(output_pipe_, output_);
    if (streams[1].revents != 0)
        read_available(error_pipe_, error_output_);
    return true;
}

void ChildProcess::read_all_available()
{
    while (output_pipe_.is_open() && read_available(output_pipe_, output_)) {
    }
    while (error_pipe_.is_open() && read_available(error_pipe_, error_output_)) {
    }
}

std::optional<std::string> ChildProcess::read_line()
{
    read_all_available();
    const std::size_t end = output_.find('\n');
    if (end == std::string::npos)
        return std::nullopt;
    std::string line = output_.substr(0, end);
    output_.erase(0, end + 1);
    return line;
}

std::optional<std::string> ChildProcess::wait_for_line(std::chrono::milliseconds timeout)
{
    const Deadline deadline{timeout};
    std::optional<std::string> line = read_line();
    while (!line && !output_has_ended() && read_some(deadline.milliseconds_left()))
        line = read_line();
    return line;
}

int ChildProcess::count_in_output(std::string_view text) const
{
    int count = 0;
    for (std::size_t at = output_.find(text); at != std::string::npos; at = output_.find(text, at + text.size()))
        ++count;
    return count;
}

bool ChildProcess::wait_for_output(std::string_view text, int times, std::chrono::milliseconds timeout)
{
    const Deadline deadline{timeout};
    read_all_available();
    while (count_in_output(text) < times)
        if (output_has_ended() || !read_some(deadline.milliseconds_left()))
            return false;
    return true;
}

std::optional<int> ChildProcess::wait(std::chrono::milliseconds timeout)
{
    if (exit_status_ || pid_ <= 0)
        return exit_status_;
    const Deadline deadline{timeout};
    for (;;) {
        pollfd sources[] = {
            {process_.get(), POLLIN, 0}, {output_pipe_.get(), POLLIN, 0}, {error_pipe_.get(), POLLIN, 0}};
        if (::poll(sources, 3, deadline.milliseconds_left()) == 0)
            return std::nullopt;
        read_all_available();
        if (sources[0].revents != 0)
            break;
    }
    exit_status_ = exit_status_of(pid_);
    reap(pid_);
    set_reaped();
    return exit_status_;
}

std::string output_of(const Command &command, std::chrono::milliseconds timeout)
{
    ChildProcess process{command};
    process.close_input();
    const std::optional<int> status = process.wait(timeout);
    if (status == 0)
        return process.output();
    const std::string end = status ? "ended with status " + std::to_string(*status) : "did not end in time";
    throw std::runtime_error{command.words[0] + " " + end + ": " + process.output() + process.error_output()};
}

std::optional<int> wait_for_exit(pid_t child, std::chrono::milliseconds timeout)
{
    const Deadline deadline{timeout};
    const FileDescriptor process = open_process(child);
    pollfd end{process.get(), POLLIN, 0};
    int ready = 0;
    while ((ready = ::poll(&end, 1, deadline.milliseconds_left())) < 0 && errno == EINTR) {
    }
    if (ready == 0)
        return std::nullopt;
    return exit_status_of(child);
}

} // namespace kv::test
