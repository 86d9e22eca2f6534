// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "e2e/fixtures/application.hpp"
#include "support/program.hpp"
#include "testing/support/read_file.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

/// Runs an example as a program with a virtual agent.
namespace kv::test {

/// All versions of the agent.
inline const auto agent_versions =
    testing::Values("1.0", "1.1", "1.2", "1.3", "1.4", "1.5", "1.6", "2.0", "2.1", "2.2", "2.3");

inline std::string version_in_name(const testing::TestParamInfo<const char *> &version)
{
    return std::string{"Version"} + version.param[0] + "_" + version.param[2];
}

class Example : public testing::Test {
protected:
    void SetUp() override
    {
        ::setenv("KORVANE_LOG", "off", 1);
        ::setenv("G_SLICE", "always-malloc", 1); // GLib's memory pools would hide leaks from the sanitizer
    }
    void TearDown() override
    {
        ::unsetenv("KORVANE_LOG");
        ::unsetenv("G_SLICE");
    }

    /// Writes a file into the home of the test and returns its path.
    std::string file(const std::string &name, const std::string &content) const
    {
        std::ofstream{home.root() / name} << content;
        return home.root() / name;
    }
    std::string path(const std::string &name) const { return home.root() / name; }
    std::string content(const std::string &name) const { return read_file(home.root() / name); }

    /// Waits until exactly `times` entries of the agent's journal contain all of the texts.
    void expect_in_journal(const std::vector<std::string> &texts, int times = 1, const char *at = __builtin_FILE(),
                           int line = __builtin_LINE()) const
    {
        if (!run_main_loop_until([&] { return home.count_in_journal(texts) >= times; }) ||
            home.count_in_journal(texts) != times)
            ADD_FAILURE_AT(at, line) << texts.back() << " is there " << home.count_in_journal(texts) << "x, not "
                                     << times << " in\n"
                                     << content("agent.log");
    }
    int requests(const std::string &method) const { return home.count_in_journal({R"("method":")" + method + R"(")"}); }

    /// Ends an example with SIGTERM and checks that it stops its service without errors.
    static void expect_clean_end(Program &program)
    {
        program.signal(SIGTERM);
        EXPECT_EQ(program.wait(), 0) << program.output();
        EXPECT_TRUE(program.count_in_output("stop: NONE") == 1) << program.output();
        EXPECT_EQ(program.error_output(), "");
    }

    AgentHome home;
};

} // namespace kv::test
