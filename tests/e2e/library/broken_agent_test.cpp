// SPDX-License-Identifier: Apache-2.0
// An application and an agent that dies, does not reply, or replies wrongly.
#include "e2e/fixtures/application.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>

using namespace kv::test;

namespace {

// For tests that wait until the reply timeout has passed: short for them, long for the calls before.
constexpr int short_timeout_ms = 1000;
constexpr int default_timeout_ms = 10'000;
// For all other tests: only a failure waits that long.
constexpr int long_timeout_ms = static_cast<int>(test_timeout.count());
// Sizes in bytes: a number, such as the kind or the result of a reply, and the length in front of a frame.
constexpr int number = 4;
constexpr int frame_head = 4;

class BrokenAgent : public testing::Test {
protected:
    void SetUp() override { descriptors_ = open_descriptors(); }
    void TearDown() override
    {
        application.deinitialize();
        ::unsetenv("KORVANE_REPLY_TIMEOUT_MS");
        agent.reset();
        EXPECT_EQ(open_descriptors(), descriptors_) << "descriptors remain open";
        EXPECT_FALSE(g_main_context_pending(nullptr)) << "a source remains on the main loop";
    }

    /// Starts an agent and connects an application with an I/O error callback.
    void begin(int reply_timeout_ms = long_timeout_ms)
    {
        ::setenv("KORVANE_REPLY_TIMEOUT_MS", std::to_string(reply_timeout_ms).c_str(), 1);
        application.deinitialize();
        agent.reset();
        application.changes.clear();
        application.io_errors = 0;
        agent = std::make_unique<AgentProcess>(home);
        ASSERT_TRUE(application.connect());
        ASSERT_EQ(application.watch_io_errors(), KORVANE_ERROR_NONE);
    }

    template <class Call>
    int timed(Call call)
    {
        const auto before = std::chrono::steady_clock::now();
        const int result = call();
        took_ms = static_cast<int>(
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - before).count());
        return result;
    }
    int start()
    {
        return timed([this] { return korvane_start(application.handle); });
    }
    int get_device_id()
    {
        char *id = nullptr;
        const int result = timed([&] { return korvane_get_device_id(application.handle, &id); });
        EXPECT_EQ(id != nullptr, result == KORVANE_ERROR_NONE) << "out arguments are set only on success";
        std::free(id);
        return result;
    }
    void expect_broken_link()
    {
        EXPECT_TRUE(run_main_loop_until([this] {
            return application.io_errors == 1 && application.changes.size() == 2;
        })) << application.io_errors
            << " notices, " << application.changes.size() << " changes";
        EXPECT_EQ(application.changes.back(), disconnected);
        EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_OPERATION_FAILED) << "the link is closed";
        EXPECT_EQ(application.io_errors, 1);
    }

    AgentHome home;
    Application application;
    std::unique_ptr<AgentProcess> agent;
    int took_ms = 0;

private:
    int descriptors_ = 0;
};

TEST_F(BrokenAgent, ThatDiesBeforeItsReplyIsAnIoErrorAtOnce)
{
    begin();
    agent->run_command("fault start die");
    EXPECT_EQ(start(), KORVANE_ERROR_IO_ERROR);
    EXPECT_LT(took_ms, long_timeout_ms);
    EXPECT_EQ(application.io_errors, 0) << "the callback does not run inside the call";
    expect_broken_link();
    EXPECT_EQ(agent->wait(), -SIGKILL);
}

TEST_F(BrokenAgent, ThatDiesAfterAnyByteOfAReplyIsAnIoErrorAtOnce)
{
    for (int sent = 0; sent < frame_head + 2 * number; ++sent) {
        SCOPED_TRACE(sent);
        begin();
        agent->run_command("fault start half " + std::to_string(sent));
        EXPECT_EQ(start(), KORVANE_ERROR_IO_ERROR);
        EXPECT_LT(took_ms, long_timeout_ms);
        expect_broken_link();
    }
}

TEST_F(BrokenAgent, ThatDiesAfterACompleteReplyFailsNoCall)
{
    begin();
    agent->run_command("fault start half " + std::to_string(frame_head + 2 * number));
    EXPECT_EQ(start(), KORVANE_ERROR_NONE);
    EXPECT_TRUE(application.wait_for_changes(2));
    EXPECT_EQ(application.changes.back(), disconnected);
    EXPECT_EQ(application.io_errors, 0);
}

TEST_F(BrokenAgent, ThatClosesTheLinkIsAnIoErrorAtOnce)
{
    begin();
    agent->run_command("fault start close");
    EXPECT_EQ(start(), KORVANE_ERROR_IO_ERROR);
    EXPECT_LT(took_ms, long_timeout_ms);
    expect_broken_link();
    agent->run_command("state");
}

TEST_F(BrokenAgent, ThatDoesNotReplyIsAnIoErrorAfterTheReplyTimeout)
{
    begin(short_timeout_ms);
    agent->run_command("fault start silent");
    EXPECT_EQ(start(), KORVANE_ERROR_IO_ERROR);
    EXPECT_GE(took_ms, short_timeout_ms - 10);
    EXPECT_LT(took_ms, default_timeout_ms);
    expect_broken_link();
}

TEST_F(BrokenAgent, ThatRepliesWithinTheTimeoutFailsNoCall)
{
    begin();
    agent->run_command("fault start delay 100");
    EXPECT_EQ(start(), KORVANE_ERROR_NONE);
    EXPECT_GE(took_ms, 90);
}

TEST_F(BrokenAgent, ThatRepliesTooLateIsAnIoErrorAndLosesTheLink)
{
    begin(short_timeout_ms);
    agent->run_command("fault start delay " + std::to_string(2 * short_timeout_ms));
    EXPECT_EQ(start(), KORVANE_ERROR_IO_ERROR);
    expect_broken_link();
}

TEST_F(BrokenAgent, ThatTruncatesAReplyFailsTheCall)
{
    // The kind, the length of the text, its 36 bytes, the result.
    constexpr int whole = number + number + 36 + number;
    begin();
    for (int size = number; size < whole; ++size) {
        SCOPED_TRACE(size);
        agent->run_command("fault get_device_id cut " + std::to_string(size));
        EXPECT_EQ(get_device_id(), KORVANE_ERROR_OPERATION_FAILED);
        EXPECT_LT(took_ms, long_timeout_ms);
    }
    agent->run_command("fault get_device_id cut " + std::to_string(whole));
    EXPECT_EQ(get_device_id(), KORVANE_ERROR_NONE) << "the link still works";
    EXPECT_EQ(application.io_errors, 0);
}

TEST_F(BrokenAgent, ThatTruncatesTheKindOfAReplyIsAnIoErrorAfterTheReplyTimeout)
{
    for (int size = 0; size < number; ++size) {
        SCOPED_TRACE(size);
        begin(short_timeout_ms);
        agent->run_command("fault start cut " + std::to_string(size));
        EXPECT_EQ(start(), KORVANE_ERROR_IO_ERROR);
        EXPECT_LT(took_ms, default_timeout_ms);
        expect_broken_link();
    }
}

TEST_F(BrokenAgent, ThatSendsAReplyOfAnotherKindIsAnIoErrorAfterTheReplyTimeout)
{
    for (int kind : {1, 2, -1, 2147483647}) {
        SCOPED_TRACE(kind);
        begin(short_timeout_ms);
        agent->run_command("fault start kind " + std::to_string(kind));
        EXPECT_EQ(start(), KORVANE_ERROR_IO_ERROR);
        EXPECT_LT(took_ms, default_timeout_ms);
        expect_broken_link();
    }
}

TEST_F(BrokenAgent, ThatReportsAFailureHasItMappedToAResultCode)
{
    begin();
    struct Mapping {
        int of_agent;
        int result_code;
    };
    const Mapping mappings[] = {{.of_agent = -13, .result_code = KORVANE_ERROR_PERMISSION_DENIED},
                                {.of_agent = -1, .result_code = KORVANE_ERROR_OPERATION_FAILED},
                                {.of_agent = 1, .result_code = KORVANE_ERROR_OPERATION_FAILED},
                                {.of_agent = -2147483647, .result_code = KORVANE_ERROR_OPERATION_FAILED}};
    for (const Mapping &mapping : mappings) {
        agent->run_command("fault start result " + std::to_string(mapping.of_agent));
        EXPECT_EQ(start(), mapping.result_code) << mapping.of_agent;
    }
    EXPECT_EQ(start(), KORVANE_ERROR_NONE) << "a fault affects one request";
}

TEST_F(BrokenAgent, ThatFailsAStartSendsNoStartResult)
{
    begin();
    agent->run_command("fault start_async result -1");
    EXPECT_EQ(application.start_async(), KORVANE_ERROR_OPERATION_FAILED);
    EXPECT_NE(agent->reply_to("emit start_async_cb [0]").find(R"("peers":0)"), std::string::npos);
    EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_NONE);
    EXPECT_TRUE(application.start_results.empty());
}

TEST_F(BrokenAgent, ThatDiesBetweenCallsIsADisconnection)
{
    begin();
    agent->signal(SIGKILL);
    EXPECT_TRUE(application.wait_for_changes(2));
    EXPECT_EQ(application.changes.back(), disconnected);
    EXPECT_EQ(application.io_errors, 0);
}

TEST_F(BrokenAgent, CanBeReplacedByOneThatWorks)
{
    begin();
    agent->run_command("fault start die");
    EXPECT_EQ(start(), KORVANE_ERROR_IO_ERROR);
    expect_broken_link();
    begin();
    EXPECT_EQ(start(), KORVANE_ERROR_NONE);
}

TEST_F(BrokenAgent, AllowsTheDisconnectionCallbackToInitializeAgain)
{
    begin();
    std::unique_ptr<AgentProcess> dead; // its reply to "quit" is still read
    application.on_change = [&](const Application::Change &change) {
        if (change != disconnected)
            return;
        EXPECT_EQ(application.deinitialize(), KORVANE_ERROR_NONE);
        dead = std::exchange(agent, nullptr);
        dead->wait();
        agent = std::make_unique<AgentProcess>(home);
        EXPECT_EQ(application.initialize(), KORVANE_ERROR_NONE);
    };
    agent->run_command("quit");
    EXPECT_TRUE(application.wait_for_changes(3));
    EXPECT_EQ(application.changes.back(), connected);
    EXPECT_EQ(start(), KORVANE_ERROR_NONE);
    application.on_change = nullptr;
}

TEST_F(BrokenAgent, AllowsTheIoErrorCallbackToInitializeAgain)
{
    begin();
    application.on_io_error = [&] {
        EXPECT_EQ(application.deinitialize(), KORVANE_ERROR_NONE);
        agent->wait();
        agent = std::make_unique<AgentProcess>(home);
        EXPECT_EQ(application.initialize(), KORVANE_ERROR_NONE);
    };
    agent->run_command("fault start die");
    EXPECT_EQ(start(), KORVANE_ERROR_IO_ERROR);
    EXPECT_TRUE(
        run_main_loop_until([&] { return application.io_errors == 1 && application.changes.back() == connected; }));
    EXPECT_EQ(start(), KORVANE_ERROR_NONE);
}

TEST_F(BrokenAgent, IsNotReportedAfterTheSessionHasEnded)
{
    begin();
    agent->run_command("fault start die");
    EXPECT_EQ(start(), KORVANE_ERROR_IO_ERROR);
    application.deinitialize();
    EXPECT_EQ(agent->wait(), -SIGKILL);
    while (g_main_context_iteration(nullptr, false)) {
    }
    EXPECT_EQ(application.io_errors, 0);
    EXPECT_EQ(application.changes, std::vector{connected});
}

} // namespace
