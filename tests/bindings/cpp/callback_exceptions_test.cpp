// SPDX-License-Identifier: Apache-2.0
#include "fake_device.hpp"

#include <stdexcept>

namespace kv::test {
namespace {

class CppExceptions : public FakeDeviceTest {
protected:
    void TearDown() override
    {
        korvane::set_exception_handler(nullptr);
        FakeDeviceTest::TearDown();
    }

    static std::string text_of(std::exception_ptr exception)
    {
        try {
            std::rethrow_exception(exception);
        } catch (const std::exception &error) {
            return error.what();
        }
    }
    static void note(std::string_view callback, std::exception_ptr exception)
    {
        noted.push_back(std::string{callback} + ": " + text_of(exception));
    }

    static inline std::vector<std::string> noted{};
};

TEST_F(CppExceptions, AHandlerOfTheApplicationReceivesThem)
{
    noted.clear();
    EXPECT_EQ(korvane::set_exception_handler(note), korvane::terminate_with_message);
    open();
    auto status = device.on_status_changed([](int) { throw std::runtime_error{"no display"}; });
    ASSERT_TRUE(status);
    arrives(event(1, newest(), false, i32(1)));
    ASSERT_TRUE(device.get_group_id([](std::string_view) { throw std::runtime_error{"no group"}; }));
    arrives(event(26, newest(), true, str("g")));
    const auto task = []() -> korvane::Task {
        throw std::runtime_error{"no task"};
        co_return;
    };
    task();
    EXPECT_EQ(noted, (std::vector<std::string>{"korvane_set_status_changed_cb: no display",
                                               "korvane_get_group_id: no group", "a korvane::Task: no task"}));
}

TEST_F(CppExceptions, AnUncheckedValueIsThrownToTheHandlerOfTheApplication)
{
    noted.clear();
    korvane::set_exception_handler(note);
    open();
    auto status = device.on_status_changed([this](int) { (void)device.set_nick_name(-1, "lamp").value(); });
    ASSERT_TRUE(status);
    arrives(event(1, newest(), false, i32(1)));
    EXPECT_EQ(noted, (std::vector<std::string>{
                         "korvane_set_status_changed_cb: korvane_set_nick_name: INVALID_PARAMETER: an argument is "
                         "NULL or out of range, a handle is not live, or it was made for another agent version"}));
}

TEST_F(CppExceptions, ByDefaultTheProcessEndsWithAMessage)
{
    open();
    auto status = device.on_status_changed([](int) { throw std::runtime_error{"no display"}; });
    ASSERT_TRUE(status);
    const int number = newest();
    EXPECT_DEATH(arrives(event(1, number, false, i32(1))),
                 "korvane: an exception left the callback of korvane_set_status_changed_cb: no display");
}

} // namespace
} // namespace kv::test
