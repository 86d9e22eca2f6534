// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_TEST_HPP
#define KORVANE_TEST_HPP

#include "korvane_test.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace korvane::test {

/// A private virtual agent, as korvane_test.h tells, that lives as long as its object. Whatever fails throws
/// std::runtime_error with the reason.
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

    /// The answer to a command, as JSON.
    std::string ask(const std::string &command)
    {
        char *answer = korvane_test_ask(agent_, command.c_str());
        must(answer != nullptr);
        std::string text = answer;
        std::free(answer);
        return text;
    }
    void tell(const std::string &command) { must(korvane_test_tell(agent_, command.c_str())); }

    void wait_for_call(const char *method, int within_ms = 5000) { wait_for_call(method, nullptr, within_ms); }
    void wait_for_call(const char *method, const char *with, int within_ms = 5000)
    {
        must(korvane_test_wait_for_call(agent_, method, with, within_ms));
    }
    void until(const char *path, const char *value, int within_ms = 5000)
    {
        must(korvane_test_until(agent_, path, value, within_ms));
    }
    void play(const std::string &path, int within_ms = 60'000)
    {
        must(korvane_test_play(agent_, path.c_str(), within_ms));
    }
    int count_calls(const char *method) { return korvane_test_count_calls(agent_, method); }

    std::string directory() const { return korvane_test_directory(agent_); }
    int pid() const { return korvane_test_pid(agent_); }

private:
    void must(bool well)
    {
        if (!well)
            throw std::runtime_error{korvane_test_problem(agent_)};
    }

    korvane_test_agent *agent_;
};

} // namespace korvane::test

#endif
