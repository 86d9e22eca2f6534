// SPDX-License-Identifier: Apache-2.0
// Handlers exist as long as the library may call them, and while they run; no longer.
#include "fake_device.hpp"

namespace kv::test {
namespace {

using korvane::Errc;

constexpr int set_status = 6;
constexpr int unset_status = 7;
constexpr Moment inside_a_call[] = {Moment::send, Moment::wait};

class CppLifetime : public FakeDeviceTest {
protected:
    /// Registers a handler for the status that notes its letter.
    korvane::Result<korvane::Subscription> watch_status(char letter)
    {
        return device.on_status_changed([this, letter, kept = watched.token()](int) { seen += letter; });
    }
    void status_arrives(int number) { arrives(event(1, number, false, i32(4))); }

    void for_each_moment(const std::function<void(Moment)> &check)
    {
        for (const Moment moment : inside_a_call) {
            SCOPED_TRACE(moment == Moment::send ? "inside a send" : "inside a wait");
            end_run();
            begin_run();
            seen.clear();
            watched = {};
            open();
            check(moment);
        }
    }

    void end_run() override
    {
        FakeDeviceTest::end_run();
        EXPECT_EQ(watched.alive(), 0) << "handlers outlive the session";
    }

    Watched watched{};
    std::string seen{};
};

TEST_F(CppLifetime, DestroyingASubscriptionUnsetsAndReleasesTheHandler)
{
    open();
    {
        auto status = watch_status('a');
        ASSERT_TRUE(status);
        EXPECT_TRUE(status->active());
        EXPECT_EQ(watched.alive(), 1);
        status_arrives(newest());
        EXPECT_EQ(methods(), (std::vector<int>{set_status}));
    }
    EXPECT_EQ(methods(), (std::vector<int>{unset_status}));
    EXPECT_EQ(watched.alive(), 0);
    status_arrives(newest());
    EXPECT_EQ(seen, "a");
}

TEST_F(CppLifetime, KeepLeavesTheHandlerToTheSession)
{
    open();
    watch_status('a').value().keep();
    EXPECT_EQ(methods(), (std::vector<int>{set_status}));
    status_arrives(newest());
    EXPECT_EQ(seen, "a");
    EXPECT_EQ(watched.alive(), 1);
    EXPECT_TRUE(device.close());
    EXPECT_EQ(watched.alive(), 0);
}

TEST_F(CppLifetime, ARefusedUnsetKeepsTheHandlerUntilTheLibraryIsDoneWithIt)
{
    open();
    const auto number = [&] {
        auto status = watch_status('a');
        const int made = newest();
        install_starts();
        EXPECT_EQ(status->unset().error(), Errc::service_unavailable);
        EXPECT_TRUE(status->active());
        status_arrives(made);
        EXPECT_EQ(seen, "a") << "the registration stays";
        return made;
    }();
    EXPECT_EQ(methods(), (std::vector<int>{set_status})) << "a refused call sends nothing";
    status_arrives(number);
    EXPECT_EQ(seen, "a") << "the destroyed subscription muted its handler";
    EXPECT_EQ(watched.alive(), 1) << "the library may still call back";
    end_install();
    auto again = watch_status('b');
    ASSERT_TRUE(again);
    EXPECT_EQ(watched.alive(), 1) << "the new registration replaced the muted one";
    status_arrives(newest());
    EXPECT_EQ(seen, "ab");
}

TEST_F(CppLifetime, ARefusedUnsetSucceedsLater)
{
    open();
    auto status = watch_status('a');
    install_starts();
    EXPECT_FALSE(status->unset());
    end_install();
    EXPECT_TRUE(status->unset());
    EXPECT_FALSE(status->active());
    EXPECT_EQ(watched.alive(), 0);
    EXPECT_EQ(methods(), (std::vector<int>{set_status, unset_status}));
}

TEST_F(CppLifetime, AnUnsetThatTheAgentRefusesEndsTheRegistration)
{
    open();
    auto status = watch_status('a');
    answers(-13);
    EXPECT_EQ(status->unset().error(), Errc::permission_denied);
    EXPECT_FALSE(status->active());
    EXPECT_EQ(watched.alive(), 0);
    status_arrives(newest());
    EXPECT_EQ(seen, "");
}

TEST_F(CppLifetime, ALaterRegistrationReplacesTheEarlierOne)
{
    open();
    auto first = watch_status('a');
    auto second = watch_status('b');
    EXPECT_EQ(watched.alive(), 1);
    EXPECT_FALSE(first->active());
    EXPECT_TRUE(second->active());
    *first = korvane::Subscription{};
    EXPECT_EQ(methods(), (std::vector<int>{set_status, set_status})) << "the replaced one unsets nothing";
    status_arrives(newest());
    EXPECT_EQ(seen, "b");
}

TEST_F(CppLifetime, AFailedRegistrationLeavesTheEarlierHandlerInPlace)
{
    open();
    auto first = watch_status('a');
    answers(-13);
    EXPECT_EQ(watch_status('b').error(), Errc::permission_denied);
    EXPECT_EQ(watched.alive(), 1);
    status_arrives(newest()); // the agent accepted the delegate in spite of the failure
    EXPECT_EQ(seen, "a") << "the library may still call it";
    install_starts();
    EXPECT_EQ(watch_status('c').error(), Errc::service_unavailable);
    end_install();
    EXPECT_EQ(watched.alive(), 1);
    EXPECT_TRUE(first->active());
    answers(0);
    EXPECT_TRUE(first->unset());
    EXPECT_EQ(watched.alive(), 0);
}

TEST_F(CppLifetime, AHandlerMayDestroyItsOwnSubscription)
{
    open();
    korvane::Subscription status;
    auto made = device.on_status_changed([&status, kept = watched.token(), this](int) {
        status = {};
        EXPECT_EQ(watched.alive(), 1) << "a handler exists while it runs";
        seen += *kept == 0 ? 'a' : '!';
    });
    status = *std::move(made);
    const int number = newest();
    status_arrives(number);
    EXPECT_EQ(watched.alive(), 0);
    status_arrives(number);
    EXPECT_EQ(seen, "a");
}

TEST_F(CppLifetime, AHandlerMayDestroyItsDevice)
{
    open();
    auto status = device.on_status_changed([this, kept = watched.token()](int) {
        device = {};
        EXPECT_EQ(watched.alive(), 1);
        seen += *kept == 0 ? 'a' : '!';
    });
    ASSERT_TRUE(status);
    status_arrives(newest());
    EXPECT_EQ(watched.alive(), 0);
    EXPECT_FALSE(status->active());
    EXPECT_TRUE(status->unset()) << "nothing is left to do";
    EXPECT_EQ(seen, "a");
}

TEST_F(CppLifetime, AHandlerMayReplaceItself)
{
    open();
    std::optional<korvane::Subscription> second;
    auto first = device.on_status_changed([&, kept = watched.token()](int) {
        second = watch_status('b').value();
        seen += *kept == 0 ? 'a' : '!';
        EXPECT_EQ(watched.alive(), 2);
    });
    status_arrives(newest());
    EXPECT_EQ(watched.alive(), 1);
    status_arrives(newest());
    EXPECT_EQ(seen, "ab");
}

TEST_F(CppLifetime, ThePairOfAPinHasOneLifetime)
{
    open();
    {
        auto pin =
            device.on_pin([this, kept = watched.token()](
                              std::string_view text, int value) { seen += std::string{text} + std::to_string(value); },
                          [this, kept = watched.token()] { seen += "closed"; });
        ASSERT_TRUE(pin);
        EXPECT_EQ(watched.alive(), 2);
        const int closed = newest();
        arrives(event(5, closed - 1, false, str("0815"), i32(3)));
        arrives(event(6, closed, false));
        EXPECT_EQ(seen, "08153closed");
    }
    EXPECT_EQ(watched.alive(), 0);
}

TEST_F(CppLifetime, SetInsideASetKeepsBothHandlersUntilTheUnset)
{
    for_each_moment([this](Moment moment) {
        auto trigger = device.on_user_confirm([this] {
            auto inner = watch_status('i');
            EXPECT_TRUE(inner);
            inner->keep();
        });
        const int confirm = newest();
        platform.proxy().raise_inside(moment, [&](Proxy &proxy) { proxy.push_event(event(2, confirm, false)); });
        auto outer = watch_status('o');
        ASSERT_TRUE(outer);
        EXPECT_TRUE(outer->active()) << "the call that returns last decides";
        EXPECT_EQ(watched.alive(), 2) << "the agent may keep either delegate";
        const int last = newest();
        status_arrives(last);
        status_arrives(last - 1);
        EXPECT_FALSE(seen.empty());
        EXPECT_TRUE(outer->unset());
        EXPECT_EQ(watched.alive(), 0);
        const std::string before = seen;
        status_arrives(last);
        status_arrives(last - 1);
        EXPECT_EQ(seen, before);
    });
}

TEST_F(CppLifetime, UnsetInsideASetEndsTheEarlierRegistrationOnly)
{
    for_each_moment([this](Moment moment) {
        auto earlier = watch_status('e');
        auto trigger = device.on_user_confirm([&] { EXPECT_TRUE(earlier->unset()); });
        const int confirm = newest();
        platform.proxy().raise_inside(moment, [&](Proxy &proxy) { proxy.push_event(event(2, confirm, false)); });
        auto outer = watch_status('o');
        ASSERT_TRUE(outer);
        EXPECT_TRUE(outer->active());
        EXPECT_EQ(watched.alive(), 1);
        status_arrives(newest());
        EXPECT_EQ(seen, "o");
    });
}

TEST_F(CppLifetime, SetInsideAnUnsetIsEndedByIt)
{
    for_each_moment([this](Moment moment) {
        auto earlier = watch_status('e');
        korvane::Subscription inner;
        auto trigger = device.on_user_confirm([&] { inner = watch_status('i').value(); });
        const int confirm = newest();
        platform.proxy().raise_inside(moment, [&](Proxy &proxy) { proxy.push_event(event(2, confirm, false)); });
        EXPECT_TRUE(earlier->unset());
        EXPECT_FALSE(inner.active());
        status_arrives(newest());
        EXPECT_EQ(seen, "");
        EXPECT_LE(watched.alive(), 1);
        auto later = watch_status('l');
        status_arrives(newest());
        EXPECT_EQ(seen, "l");
        EXPECT_TRUE(later->unset());
        EXPECT_EQ(watched.alive(), 0);
    });
}

TEST_F(CppLifetime, TheDeviceMayBeDestroyedInsideASet)
{
    for_each_moment([this](Moment moment) {
        auto trigger = device.on_user_confirm([this] { device = {}; });
        const int confirm = newest();
        platform.proxy().raise_inside(moment, [&](Proxy &proxy) { proxy.push_event(event(2, confirm, false)); });
        auto outer = watch_status('o');
        EXPECT_EQ(outer.error(), Errc::operation_failed);
        EXPECT_EQ(watched.alive(), 0);
    });
}

TEST_F(CppLifetime, AOneShotRequestReleasesItsCompletionWhenItHasRun)
{
    open();
    const auto ask = [this] {
        return device.get_group_id([this, kept = watched.token()](std::string_view id) {
            seen += id;
            EXPECT_EQ(watched.alive(), 1);
        });
    };
    ASSERT_TRUE(ask());
    EXPECT_EQ(watched.alive(), 1);
    const int number = newest();
    arrives(event(26, number, true, str("g")));
    EXPECT_EQ(seen, "g");
    EXPECT_EQ(watched.alive(), 0);

    ASSERT_TRUE(ask());
    EXPECT_TRUE(device.close());
    EXPECT_EQ(watched.alive(), 0) << "released with the session, not run";
    EXPECT_EQ(seen, "g");
}

TEST_F(CppLifetime, AOneShotRequestThatFailsReleasesItsCompletion)
{
    open();
    answers(-13);
    EXPECT_EQ(device.get_group_id([kept = watched.token()](std::string_view) {}).error(), Errc::permission_denied);
    EXPECT_EQ(watched.alive(), 0);
    install_starts();
    EXPECT_EQ(device.get_group_id([kept = watched.token()](std::string_view) {}).error(), Errc::service_unavailable);
    EXPECT_EQ(watched.alive(), 0);
    end_install();
}

TEST_F(CppLifetime, AnEarlyReplyRunsTheCompletionOnceAlsoIfTheRequestFails)
{
    for (const int result : {0, -13})
        for_each_moment([&](Moment moment) {
            answers(result);
            platform.proxy().raise_inside(
                moment, [this](Proxy &proxy) { proxy.push_event(event(26, newest(), true, str("g"))); });
            const auto asked = device.get_group_id([this, kept = watched.token()](std::string_view id) { seen += id; });
            EXPECT_EQ(asked.code(), result);
            EXPECT_EQ(seen, "g");
            EXPECT_EQ(watched.alive(), 0);
        });
}

TEST_F(CppLifetime, ACompletionMayDestroyTheDevice)
{
    open();
    ASSERT_TRUE(device.get_group_id([this, kept = watched.token()](std::string_view) {
        device = {};
        EXPECT_EQ(watched.alive(), 1);
    }));
    arrives(event(26, newest(), true, str("g")));
    EXPECT_EQ(watched.alive(), 0);
}

TEST_F(CppLifetime, AMovedDeviceKeepsItsHandlers)
{
    open();
    auto status = watch_status('a');
    korvane::Device other = std::move(device);
    EXPECT_FALSE(device.is_open());
    EXPECT_EQ(device.start().error(), Errc::invalid_parameter);
    status_arrives(newest());
    EXPECT_TRUE(other.start());
    EXPECT_EQ(seen, "a");
    device = std::move(other);
    EXPECT_TRUE(status->active());
}

TEST_F(CppLifetime, ReopenEndsTheRegistrationsAndKeepsTheConnectionHandler)
{
    open();
    auto status = watch_status('a');
    ASSERT_TRUE(device.reopen());
    EXPECT_EQ(watched.alive(), 0);
    EXPECT_FALSE(status->active());
    come_up();
    EXPECT_EQ(connection, (std::vector{korvane::ConnectionStatus::connected, korvane::ConnectionStatus::connected}));
    EXPECT_TRUE(status->unset());
    EXPECT_EQ(methods(), std::vector<int>{});
}

TEST_F(CppLifetime, ASessionThatCannotBeEndedIsMutedAndEndedByTheNextOne)
{
    open();
    watch_status('a').value().keep();
    const int number = newest();
    clear_agent_state();
    platform.results["package_info_create"] = -18153359; // no agent is installed
    EXPECT_EQ(device.close().error(), Errc::not_supported);
    EXPECT_TRUE(device.is_open());
    device = {};
    status_arrives(number);
    platform.proxy().fire_disconnected();
    EXPECT_EQ(seen, "");
    EXPECT_EQ(connection.size(), 1U);
    EXPECT_EQ(watched.alive(), 1) << "the library may still call back";
    EXPECT_EQ(korvane::Device::open().error(), Errc::not_supported);

    platform.results.clear();
    open();
    EXPECT_EQ(watched.alive(), 0);
    EXPECT_TRUE(watch_status('b'));
}

} // namespace
} // namespace kv::test
