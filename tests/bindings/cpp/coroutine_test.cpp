// SPDX-License-Identifier: Apache-2.0
// Coroutines that await one-shot requests.
#include "fake_device.hpp"

namespace kv::test {
namespace {

using korvane::Errc;

/// A coroutine that its owner destroys.
struct OwnedCoroutine {
    struct promise_type {
        OwnedCoroutine get_return_object() { return {std::coroutine_handle<promise_type>::from_promise(*this)}; }
        std::suspend_never initial_suspend() const noexcept { return {}; }
        std::suspend_always final_suspend() const noexcept { return {}; }
        void return_void() const noexcept {}
        void unhandled_exception() const noexcept { std::terminate(); }
    };

    std::coroutine_handle<promise_type> handle;
};

class CppCoroutine : public FakeDeviceTest {
protected:
    /// Asks for the group and notes the result.
    korvane::Task ask()
    {
        const korvane::Result<std::string> group = co_await device.get_group_id();
        seen += group ? *group : group.name();
    }

    std::string seen{};
};

TEST_F(CppCoroutine, ResumesWithTheReply)
{
    open();
    ask();
    EXPECT_EQ(seen, "");
    arrives(event(26, newest(), true, str("g")));
    EXPECT_EQ(seen, "g");
}

TEST_F(CppCoroutine, GoesOnAtOnceIfTheRequestFails)
{
    open();
    answers(-13);
    ask();
    EXPECT_EQ(seen, "PERMISSION_DENIED");
    device = {};
    seen.clear();
    ask();
    EXPECT_EQ(seen, "INVALID_PARAMETER");
}

TEST_F(CppCoroutine, TakesAReplyThatArrivesInsideTheRequest)
{
    for (const Moment moment : {Moment::send, Moment::wait}) {
        end_run();
        begin_run();
        seen.clear();
        open();
        answers(-13); // the reply has arrived all the same
        platform.proxy().raise_inside(moment,
                                      [this](Proxy &proxy) { proxy.push_event(event(26, newest(), true, str("g"))); });
        ask();
        EXPECT_EQ(seen, "g");
    }
}

TEST_F(CppCoroutine, ResumesWithAFailureWhenTheSessionEnds)
{
    open();
    ask();
    device = {};
    EXPECT_EQ(seen, "OPERATION_FAILED");
}

TEST_F(CppCoroutine, MayEndTheSessionWhenItIsResumed)
{
    open();
    const auto run = [this]() -> korvane::Task {
        (void)co_await device.get_group_id();
        device = {};
        const auto again = co_await device.get_group_id();
        seen += again.name();
    };
    run();
    arrives(event(26, newest(), true, str("g")));
    EXPECT_EQ(seen, "INVALID_PARAMETER");
}

TEST_F(CppCoroutine, IsNotResumedOnceItIsDestroyed)
{
    open();
    const auto run = [this]() -> OwnedCoroutine {
        (void)co_await device.get_group_id();
        seen += "resumed";
    };
    const OwnedCoroutine coroutine = run();
    const int number = newest();
    coroutine.handle.destroy();
    arrives(event(26, number, true, str("g")));
    EXPECT_EQ(seen, "");
}

} // namespace
} // namespace kv::test
