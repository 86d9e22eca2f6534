// SPDX-License-Identifier: Apache-2.0
#include "process.hpp"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

constexpr int deadline_ms = 120'000;

[[noreturn]] void fail(int error, const std::string &what)
{
    throw std::system_error(error, std::generic_category(), what);
}

std::vector<char *> pointers(std::vector<std::string> &texts)
{
    std::vector<char *> result;
    for (auto &text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

} // namespace

Child::Child(const std::vector<std::string> &command, const std::vector<std::string> &environment)
{
    int ends[2];
    int input_ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0 || pipe2(input_ends, O_CLOEXEC) != 0)
        fail(errno, "pipe");
    output_ = ends[0];
    input_ = input_ends[1];

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input_ends[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);

    std::vector<std::string> arguments = command;
    std::vector<std::string> variables = environment;
    for (char **entry = environ; *entry; ++entry)
        variables.emplace_back(*entry);
    const int err = posix_spawnp(&pid_, arguments[0].c_str(), &actions, nullptr, pointers(arguments).data(),
                                 pointers(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    close(input_ends[0]);
    close(ends[1]);
    if (err != 0) {
        close(input_);
        close(output_);
        fail(err, command[0]);
    }
}

Child::~Child()
{
    close(input_);
    close(output_);
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        // A traced one may have a stop to report before its end.
        int status = 0;
        while (waitpid(pid_, &status, 0) == pid_ && WIFSTOPPED(status)) {
        }
    }
}

void Child::write_line(const std::string &line)
{
    const std::string whole = line + "\n";
    if (write(input_, whole.data(), whole.size()) != static_cast<ssize_t>(whole.size()))
        fail(errno, "write to a child process");
}

bool Child::read_more()
{
    pollfd waiting{output_, POLLIN, 0};
    const int ready = poll(&waiting, 1, deadline_ms);
    if (ready == 0)
        throw std::runtime_error("a child process says nothing any more");
    char chunk[4096];
    const ssize_t length = read(output_, chunk, sizeof chunk);
    if (length < 0)
        fail(errno, "read from a child process");
    buffered_.append(chunk, static_cast<std::size_t>(length));
    return length > 0;
}

std::string Child::read_line()
{
    std::size_t end;
    while ((end = buffered_.find('\n')) == std::string::npos)
        if (!read_more())
            throw std::runtime_error("a child process ended early");
    std::string line = buffered_.substr(0, end);
    buffered_.erase(0, end + 1);
    return line;
}

std::string Child::finish()
{
    while (read_more()) {
    }
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error("a child process failed: " + buffered_);
    return buffered_;
}

std::string run(const std::vector<std::string> &command, const std::vector<std::string> &environment)
{
    return Child{command, environment}.finish();
}

TemporaryFolder::TemporaryFolder() : path_(std::filesystem::temp_directory_path() / "korvane-bench-XXXXXX")
{
    if (!mkdtemp(path_.data()))
        fail(errno, path_);
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

OnOneCpu::OnOneCpu() : before_(sizeof(cpu_set_t))
{
    cpu_set_t cpus;
    if (sched_getaffinity(0, sizeof cpus, &cpus) != 0)
        fail(errno, "sched_getaffinity");
    memcpy(before_.data(), &cpus, sizeof cpus);

    // The last one allowed: the first is where a machine does its own work.
    int last = -1;
    for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu)
        if (CPU_ISSET(cpu, &cpus))
            last = cpu;
    CPU_ZERO(&cpus);
    CPU_SET(last, &cpus);
    if (sched_setaffinity(0, sizeof cpus, &cpus) != 0)
        fail(errno, "sched_setaffinity");
}

OnOneCpu::~OnOneCpu()
{
    cpu_set_t cpus;
    memcpy(&cpus, before_.data(), sizeof cpus);
    sched_setaffinity(0, sizeof cpus, &cpus);
}

} // namespace bench
