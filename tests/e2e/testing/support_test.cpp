// SPDX-License-Identifier: Apache-2.0
// The helpers that all other tests rely on: processes, temporary directories, waiting.
#include "testing/support/child_process.hpp"
#include "testing/support/descendants.hpp"
#include "testing/support/read_file.hpp"
#include "testing/support/temporary_directory.hpp"
#include "testing/support/wait.hpp"

#include <gtest/gtest.h>

#include <glib.h>

#include <csignal>
#include <cstdio>
#include <fstream>

#include <sys/wait.h>
#include <unistd.h>

using namespace kv::test;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds no_wait{0};

Command shell(const std::string &script)
{
    return {.words = {"sh", "-c", script}};
}

bool is_running(pid_t pid)
{
    return ::kill(pid, 0) == 0;
}

TEST(ChildProcess, ReturnsItsExitStatusAndAllOfItsOutput)
{
    ChildProcess process{shell("echo out; echo err >&2; exit 7")};
    EXPECT_EQ(process.wait(), 7);
    EXPECT_EQ(process.wait(), 7) << "a second time";
    EXPECT_EQ(process.output(), "out\n");
    EXPECT_EQ(process.error_output(), "err\n");
}

TEST(ChildProcess, ReturnsMinusTheSignalThatEndedIt)
{
    ChildProcess process{{.words = {"sleep", "600"}}};
    process.signal(SIGTERM);
    EXPECT_EQ(process.wait(), -SIGTERM);
}

TEST(ChildProcess, ReadsMoreOutputThanAPipeHolds)
{
    ChildProcess process{shell("head -c 1000000 /dev/zero; head -c 1000000 /dev/zero >&2")};
    EXPECT_EQ(process.wait(), 0);
    EXPECT_EQ(process.output().size(), 1'000'000U);
    EXPECT_EQ(process.error_output().size(), 1'000'000U);
}

TEST(ChildProcess, ThrowsIfTheProgramCannotBeStarted)
{
    try {
        ChildProcess process{{.words = {"/nowhere/program"}}};
        FAIL() << "a program that does not exist was started";
    } catch (const std::system_error &error) {
        EXPECT_STREQ(error.what(), "cannot run /nowhere/program: No such file or directory");
    }
    EXPECT_TRUE(child_processes().empty()) << "nothing is left to reap";
}

TEST(ChildProcess, ExchangesLines)
{
    ChildProcess process{{.words = {"cat"}}};
    EXPECT_EQ(process.read_line(), std::nullopt);
    EXPECT_TRUE(process.write_line("one"));
    EXPECT_EQ(process.wait_for_line(), "one");
    EXPECT_TRUE(process.write_line("two\nthree"));
    EXPECT_EQ(process.wait_for_line(), "two");
    EXPECT_EQ(process.wait_for_line(), "three");
    EXPECT_EQ(process.wait_for_line(no_wait), std::nullopt);
    process.close_input();
    EXPECT_EQ(process.wait_for_line(), std::nullopt) << "the output ends";
    EXPECT_EQ(process.wait(), 0);
}

TEST(ChildProcess, WaitsForATextInItsOutput)
{
    ChildProcess process{shell("echo one one; read line; echo one; exec cat")};
    EXPECT_TRUE(process.wait_for_output("one", 2));
    EXPECT_FALSE(process.wait_for_output("one", 3, no_wait));
    process.write_line("");
    EXPECT_TRUE(process.wait_for_output("one", 3));
    process.close_input();
    EXPECT_FALSE(process.wait_for_output("one", 4)) << "the output ends without it";
}

TEST(ChildProcess, ReportsThatTheProcessDoesNotReadAnyMore)
{
    ChildProcess process{{.words = {"true"}}};
    process.wait();
    EXPECT_FALSE(process.write_line("too late")) << "without SIGPIPE";
}

TEST(ChildProcess, ChangesTheEnvironment)
{
    ::setenv("KV_REMOVED", "here", 1);
    ::setenv("KV_CHANGED", "before", 1);
    const Command command{.words = {"sh", "-c", "echo ${KV_REMOVED-none} $KV_CHANGED $KV_ADDED"},
                          .environment = {{"KV_REMOVED", std::nullopt}, {"KV_CHANGED", "after"}, {"KV_ADDED", "new"}}};
    EXPECT_EQ(output_of(command), "none after new\n");
    ::unsetenv("KV_REMOVED");
    ::unsetenv("KV_CHANGED");
}

TEST(ChildProcess, AppendsStandardErrorToAFile)
{
    const TemporaryDirectory directory;
    std::ofstream{directory / "errors"} << "before\n";
    ChildProcess process{{.words = {"sh", "-c", "echo after >&2"}, .error_file = directory / "errors"}};
    EXPECT_EQ(process.wait(), 0);
    EXPECT_EQ(read_file(directory / "errors"), "before\nafter\n");
    EXPECT_EQ(process.error_output(), "");
}

TEST(ChildProcess, RunsAFunction)
{
    ChildProcess process{[] {
        char line[16] = "";
        std::printf("input: %s", std::fgets(line, sizeof line, stdin));
        std::fprintf(stderr, "error");
        return 5;
    }};
    process.write_line("hello");
    EXPECT_EQ(process.wait(), 5);
    EXPECT_EQ(process.output(), "input: hello\n");
    EXPECT_EQ(process.error_output(), "error");
}

TEST(ChildProcess, IsKilledAndReapedWithItsObject)
{
    pid_t pid = -1;
    {
        ChildProcess process{{.words = {"sleep", "600"}}};
        pid = process.pid();
        EXPECT_TRUE(is_running(pid));
        EXPECT_EQ(process.wait(no_wait), std::nullopt);
    }
    EXPECT_FALSE(is_running(pid));
}

TEST(ChildProcess, IsKilledWithTheProcessThatStartedIt)
{
    adopt_orphans();
    ChildProcess parent{[] {
        ChildProcess child{{.words = {"sleep", "600"}}};
        std::printf("%d\n", child.pid());
        std::fflush(stdout);
        child.wait();
        return 0;
    }};
    const pid_t child = std::stoi(parent.wait_for_line().value_or("-1"));
    ASSERT_TRUE(is_running(child));
    parent.signal(SIGKILL);
    EXPECT_EQ(parent.wait(), -SIGKILL);
    EXPECT_TRUE(reap_children(test_timeout));
    EXPECT_FALSE(is_running(child));
}

TEST(ChildProcess, DoesNotWaitForProcessesThatKeepItsOutputOpen)
{
    adopt_orphans();
    ChildProcess process{shell("sleep 600 & echo $!")};
    EXPECT_EQ(process.wait(), 0);
    EXPECT_TRUE(is_running(std::stoi(process.output())));
    EXPECT_EQ(end_descendants(), 1);
}

TEST(OutputOf, ThrowsWithTheReasonIfTheCommandFails)
{
    EXPECT_EQ(output_of(shell("echo fine")), "fine\n");
    try {
        output_of(shell("echo broken >&2; exit 3"));
        FAIL() << "the failure was not reported";
    } catch (const std::runtime_error &error) {
        EXPECT_STREQ(error.what(), "sh ended with status 3: broken\n");
    }
}

TEST(WaitForExit, LeavesTheChildToBeReaped)
{
    ChildProcess process{shell("exit 4")};
    EXPECT_EQ(wait_for_exit(process.pid()), 4);
    EXPECT_EQ(process.wait(), 4);
}

TEST(EndDescendants, AlsoEndsOrphansAndProcessesThatIgnoreSigterm)
{
    adopt_orphans();
    ChildProcess process{shell("(trap '' TERM; echo ignores; while :; do sleep 600; done) & echo parent; wait")};
    ASSERT_TRUE(process.wait_for_output("ignores"));
    ASSERT_TRUE(process.wait_for_output("parent"));
    process.signal(SIGKILL);
    process.wait();
    EXPECT_FALSE(child_processes().empty()) << "the orphan is a child of this process now";
    EXPECT_EQ(end_descendants(), 2) << "the shell and its sleep";
    EXPECT_TRUE(child_processes().empty());
}

/// kv-run-test with a script as the test.
Command run_test(const char *seconds, const std::string &script)
{
    return {.words = {KV_RUN_TEST, seconds, "sh", "-c", script}};
}

/// The process id in the first line of output.
pid_t printed_pid(ChildProcess &process)
{
    return std::stoi(process.wait_for_line().value_or("-1"));
}

TEST(RunTest, ReturnsTheExitStatusOfTheTest)
{
    EXPECT_EQ(ChildProcess{run_test("60", "exit 0")}.wait(), 0);
    EXPECT_EQ(ChildProcess{run_test("60", "exit 3")}.wait(), 3);
    EXPECT_EQ(ChildProcess{run_test("60", "kill -SEGV $$")}.wait(), 128 + SIGSEGV);
}

TEST(RunTest, WaitsForProcessesThatAreAboutToEnd)
{
    EXPECT_EQ(ChildProcess{run_test("60", "sleep 0.1 &")}.wait(), 0);
}

TEST(RunTest, FailsATestThatLeavesAProcessAndKillsIt)
{
    ChildProcess process{run_test("2", "setsid sleep 600 & echo $!")};
    const pid_t orphan = printed_pid(process);
    EXPECT_EQ(process.wait(), 1);
    EXPECT_FALSE(is_running(orphan));
    EXPECT_NE(process.error_output().find("has left processes running"), std::string::npos) << process.error_output();
    EXPECT_NE(process.error_output().find(std::to_string(orphan) + " sleep 600"), std::string::npos)
        << process.error_output();
}

TEST(RunTest, KillsAllProcessesOfATestThatTimesOut)
{
    constexpr int timed_out = 124;
    ChildProcess process{run_test("1", "(sleep 600 & echo $!); sleep 600")};
    const pid_t orphan = printed_pid(process);
    EXPECT_EQ(process.wait(), timed_out);
    EXPECT_FALSE(is_running(orphan));
}

TEST(RunTest, KillsAllProcessesOfTheTestIfItIsStopped)
{
    ChildProcess process{run_test("60", "(sleep 600 & echo $!); sleep 600")};
    const pid_t orphan = printed_pid(process);
    process.signal(SIGTERM);
    EXPECT_EQ(process.wait(), 128 + SIGTERM);
    EXPECT_FALSE(is_running(orphan));
}

TEST(TemporaryDirectory, IsRemovedWithItsContent)
{
    std::filesystem::path path;
    {
        const TemporaryDirectory directory{"korvane-some-test"};
        path = directory.path();
        EXPECT_EQ(path.filename().string().find("korvane-some-test-"), 0U);
        EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms::owner_all);
        std::filesystem::create_directory(directory / "inner");
        std::ofstream{directory / "inner" / "file"} << "text";
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(ReadFile, ReturnsTheBytesOfAFile)
{
    const TemporaryDirectory directory;
    const std::string bytes{"a\0\r\n\xff", 5};
    std::ofstream{directory / "file", std::ios::binary} << bytes;
    EXPECT_EQ(read_file(directory / "file"), bytes);
    EXPECT_EQ(read_file(directory / "missing"), "");
}

TEST(WaitUntil, ChecksTheConditionUntilItHoldsOrTheTimeIsUp)
{
    int checks = 0;
    EXPECT_TRUE(wait_until([&] { return ++checks == 3; }));
    EXPECT_FALSE(wait_until([] { return false; }, milliseconds{1}));
    EXPECT_TRUE(wait_until([] { return true; }, no_wait)) << "the condition is checked at least once";
}

TEST(RunMainLoopUntil, DispatchesAndLeavesNothingOnTheLoop)
{
    int calls = 0;
    g_idle_add(
        [](gpointer data) -> gboolean {
            ++*static_cast<int *>(data);
            return G_SOURCE_REMOVE;
        },
        &calls);
    EXPECT_TRUE(run_main_loop_until([&] { return calls == 1; }));
    EXPECT_FALSE(run_main_loop_until([] { return false; }, milliseconds{1}));
    EXPECT_FALSE(g_main_context_pending(nullptr));
}

} // namespace
