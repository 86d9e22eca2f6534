// SPDX-License-Identifier: Apache-2.0
#include "platform_fixture.hpp"

#include <glib.h>

#include <cstdio>
#include <stdexcept>

namespace kv::test {

namespace {

constexpr int too_many_runs = 2000; // a call that never completes without a failure

} // namespace

void PlatformTest::begin_run()
{
    platform.reset();
    live_blocks_ = allocs::live_blocks();
}

void PlatformTest::end_run()
{
    allocs::stop_failing();
    platform.faults.disarm();
    EXPECT_EQ(run_main_loop(), 0U) << "an idle source outlived its test";
    EXPECT_EQ(platform.alive(), std::vector<std::string>{});
    EXPECT_EQ(platform.take_misuses(), std::vector<std::string>{});
    EXPECT_EQ(platform.log.malformed(), std::vector<std::string>{});
    EXPECT_EQ(allocs::live_blocks(), live_blocks_) << "memory was not freed";
}

void PlatformTest::fail_each_platform_call(const std::function<void()> &prepare, const std::function<int()> &call,
                                           const std::function<void(const std::string &, int)> &check)
{
    for (unsigned nth = 1; nth < too_many_runs; ++nth) {
        end_run();
        begin_run();
        prepare();
        platform.faults.fail(nth);
        const int result = call();
        platform.faults.disarm();
        const std::string failed = platform.faults.function();
        SCOPED_TRACE("failed: " + (failed.empty() ? "nothing" : failed));
        check(failed, result);
        if (failed.empty() || HasFailure())
            return;
    }
    FAIL() << "no run completed without a failure";
}

void PlatformTest::fail_each_allocation(const std::function<void()> &prepare, const std::function<int()> &call,
                                        const std::function<void(int, int)> &check)
{
    for (int nth = 1; nth < too_many_runs; ++nth) {
        end_run();
        begin_run();
        prepare();
        allocs::fail_nth(static_cast<unsigned>(nth));
        const int result = call();
        allocs::stop_failing();
        const bool failed = allocs::failed();
        SCOPED_TRACE("succeeded before: " + std::to_string(nth - 1));
        check(failed ? nth - 1 : -1, result);
        if (!failed || HasFailure())
            return;
    }
    FAIL() << "no run completed without a failure";
}

unsigned run_main_loop()
{
    unsigned rounds = 0;
    while (g_main_context_iteration(nullptr, FALSE) && rounds < 1000)
        ++rounds;
    return rounds;
}

int last_seq_id(const Log &log)
{
    const LogLines lines = log.lines();
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        int id = 0;
        int seq_id = 0;
        if (line->function.ends_with("_create") &&
            std::sscanf(line->message.c_str(), "id(%d), seq_id(%d)", &id, &seq_id) == 2)
            return seq_id;
    }
    throw std::logic_error("no delegate was created");
}

} // namespace kv::test
