// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/alloc_injector.hpp"
#include "support/fake_platform.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace kv::test {

inline constexpr const char *agent_appid = "org.korvane.agent";

/// A fresh platform for every test. Whatever a test leaves behind fails it: memory, handles, idle sources, log lines
/// without form, handles of the platform used after their end.
class PlatformTest : public ::testing::Test {
protected:
    void SetUp() override { begin_run(); }
    void TearDown() override { end_run(); }

    /// Makes the call with its first platform call failing, then with its second, until it makes no more of them. Every
    /// run is a test of its own, readied by prepare(); check() receives the result and what failed ("" in the last run).
    void fail_each_platform_call(const std::function<void()> &prepare, const std::function<int()> &call,
                                 const std::function<void(const std::string &failed, int result)> &check);
    /// The same with allocations; check() receives how many succeeded before the one that failed (-1 in the last run).
    void fail_each_allocation(const std::function<void()> &prepare, const std::function<int()> &call,
                              const std::function<void(int before, int result)> &check);

    virtual void begin_run();
    virtual void end_run();

    FakePlatform &platform = FakePlatform::instance();

private:
    std::size_t live_blocks_ = 0;
};

/// Runs what waits on the main loop; how many rounds it took.
unsigned run_main_loop();

/// The number that the delegate created last was given.
int last_seq_id(const Log &log);

} // namespace kv::test
