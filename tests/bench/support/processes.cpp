// SPDX-License-Identifier: Apache-2.0
#include "processes.hpp"

#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace kv::test {

namespace {

Command command_of(const std::vector<std::string> &words, const Environment &environment)
{
    return {.words = words, .environment = environment, .captures_errors = false};
}

} // namespace

std::unique_ptr<ChildProcess> start(const std::vector<std::string> &words, const Environment &environment)
{
    return std::make_unique<ChildProcess>(command_of(words, environment));
}

std::string next_line(ChildProcess &process)
{
    std::optional<std::string> line = process.wait_for_line();
    if (!line)
        throw std::runtime_error("process " + std::to_string(process.pid()) + " printed no line");
    return *line;
}

std::string rest_of_output(ChildProcess &process)
{
    if (process.wait() != 0)
        throw std::runtime_error("a child process failed: " + process.output());
    return process.output();
}

std::string run(const std::vector<std::string> &words, const Environment &environment)
{
    return output_of(command_of(words, environment));
}

double private_kb(pid_t pid)
{
    std::ifstream file("/proc/" + std::to_string(pid) + "/smaps_rollup");
    double sum = 0;
    for (std::string line; std::getline(file, line);) {
        double kb = 0;
        if (sscanf(line.c_str(), "Private_Clean: %lf", &kb) == 1 ||
            sscanf(line.c_str(), "Private_Dirty: %lf", &kb) == 1)
            sum += kb;
    }
    return sum;
}

} // namespace kv::test
