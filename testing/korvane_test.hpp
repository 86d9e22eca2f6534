// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_TEST_HPP
#define KORVANE_TEST_HPP

#include "korvane_test.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace korvane::test {

/// A private virtual agent, described in korvane_test.h. It runs as long as its object exists. A member function that
/// fails throws std::runtime_error with the reason.
class Agent {
public:
    explicit Agent(const char *version = nullptr) : Agent(korvane_test_options{version, nullptr, nullptr, nullptr}) {}
    explicit Agent(const korvane_test_options &options) : agent_(korvane_test_start(&options))
    {
        if (!agent_)
            throw std::runtime_error{korvane_test_problem(nullptr)};
    }
    Agent(const Agent &) = delete;
    Agent &operator=(const Agent &) = delete;
    ~Agent() { korvane_test_stop(agent_); }

    /// Runs a command and returns the reply as JSON.
    std::string ask(const std::string &command)
    {
        char *reply = korvane_test_ask(agent_, command.c_str());
        check(reply != nullptr);
        std::string text = reply;
        std::free(reply);
        return text;
    }
    /// Runs a command.
    void tell(const std::string &command) { check(korvane_test_tell(agent_, command.c_str())); }

    /// Waits until the application has called a method, with the arguments `with` if given.
    void wait_for_call(const char *method, int within_ms = 5000) { wait_for_call(method, nullptr, within_ms); }
    void wait_for_call(const char *method, const char *with, int within_ms = 5000)
    {
        check(korvane_test_wait_for_call(agent_, method, with, within_ms));
    }
    /// Waits until the member of the state at a path has a value.
    void until(const char *path, const char *value, int within_ms = 5000)
    {
        check(korvane_test_until(agent_, path, value, within_ms));
    }
    /// Runs a scenario to its end.
    void play(const std::string &path, int within_ms = 60'000)
    {
        check(korvane_test_play(agent_, path.c_str(), within_ms));
    }
    int count_calls(const char *method) { return korvane_test_count_calls(agent_, method); }

    std::string directory() const { return korvane_test_directory(agent_); }
    int pid() const { return korvane_test_pid(agent_); }

private:
    void check(bool succeeded)
    {
        if (!succeeded)
            throw std::runtime_error{korvane_test_problem(agent_)};
    }

    korvane_test_agent *agent_;
};

} // namespace korvane::test

#endif
