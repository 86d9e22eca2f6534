// SPDX-License-Identifier: Apache-2.0
#include "program.hpp"

#include <gtest/gtest.h>

namespace kv::test {

namespace {

Command command_of(const std::string &path, const std::vector<std::string> &arguments)
{
    Command command{.words = {path}};
    command.words.insert(command.words.end(), arguments.begin(), arguments.end());
    return command;
}

} // namespace

Program::Program(const std::string &path, const std::vector<std::string> &arguments)
    : process_(command_of(path, arguments))
{
}

bool Program::wait_for_output(const std::string &text, int times, const char *file, int line)
{
    const bool found = process_.wait_for_output(text, times);
    if (!found)
        ADD_FAILURE_AT(file, line) << "no output '" << text << "' " << times << "x in\n" << output() << error_output();
    return found;
}

int Program::wait(const char *file, int line)
{
    const std::optional<int> status = process_.wait();
    if (!status)
        ADD_FAILURE_AT(file, line) << "the program does not end:\n" << output() << error_output();
    return status.value_or(-1);
}

} // namespace kv::test
