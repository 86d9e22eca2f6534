// SPDX-License-Identifier: Apache-2.0
#include "conformance/fixtures/library_fixture.hpp"

#include <utility>

namespace kv::test {
namespace {

void ignore_status(int, korvane_h, int, void *) {}
void ignore_io_error(korvane_h, void *) {}
void ignore_start_result(korvane_h, int, void *) {}

/// A call that an application makes inside a callback, and its result with and without a connection.
struct Action {
    std::string name;
    int (*run)(korvane_h handle);
    int connected;
    int not_connected;
    bool ends_the_handle = false;
};

int reinitialize(korvane_h handle)
{
    if (int result = korvane_deinitialize(handle))
        return result;
    korvane_h next = nullptr;
    return korvane_initialize(&next, ignore_status, nullptr);
}

const std::vector<Action> actions = {
    {.name = "Initialize",
     .run =
         [](korvane_h) {
             korvane_h next = nullptr;
             return korvane_initialize(&next, ignore_status, nullptr);
         },
     .connected = KORVANE_ERROR_OPERATION_FAILED,
     .not_connected = KORVANE_ERROR_OPERATION_FAILED},
    {.name = "Deinitialize", .run = korvane_deinitialize, .connected = 0, .not_connected = 0, .ends_the_handle = true},
    {.name = "DeinitializeAndInitialize",
     .run = reinitialize,
     .connected = 0,
     .not_connected = 0,
     .ends_the_handle = true},
    {.name = "Start", .run = korvane_start, .connected = 0, .not_connected = KORVANE_ERROR_OPERATION_FAILED},
    {.name = "Stop", .run = korvane_stop, .connected = 0, .not_connected = KORVANE_ERROR_OPERATION_FAILED},
    {.name = "StartAsync",
     .run = [](korvane_h handle) { return korvane_start_async(handle, ignore_start_result, nullptr); },
     .connected = 0,
     .not_connected = KORVANE_ERROR_OPERATION_FAILED},
    {.name = "SetRpcIoErrorCb",
     .run = [](korvane_h handle) { return korvane_set_rpc_io_error_cb(handle, ignore_io_error, nullptr); },
     .connected = 0,
     .not_connected = 0},
    {.name = "UnsetRpcIoErrorCb", .run = korvane_unset_rpc_io_error_cb, .connected = 0, .not_connected = 0},
};

std::ostream &operator<<(std::ostream &out, const Action &action)
{
    return out << action.name;
}

/// An application that makes its call once, inside a chosen callback.
class InsideACallback : public LibraryTest, public ::testing::WithParamInterface<Action> {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        app = this;
    }

    static void act(korvane_h seen)
    {
        if (!std::exchange(app->armed, false))
            return;
        ++app->acted;
        app->result = GetParam().run(seen);
    }
    static void on_status(int, korvane_h seen, int, void *) { act(seen); }
    static void on_io_error(korvane_h seen, void *) { act(seen); }
    static void on_started(korvane_h seen, int, void *) { act(seen); }

    void begin(bool update_ready = false)
    {
        ASSERT_EQ(korvane_initialize(&handle, on_status, nullptr), KORVANE_ERROR_NONE);
        agent_answers(0, update_ready);
    }
    void begin_connected()
    {
        begin();
        platform.proxy().fire_connected();
    }

    void expect_done(bool connected)
    {
        EXPECT_EQ(acted, 1);
        EXPECT_EQ(result, connected ? GetParam().connected : GetParam().not_connected);
        if (!GetParam().ends_the_handle) {
            EXPECT_EQ(kv::api::live_session, handle);
        }
    }

    static inline InsideACallback *app = nullptr;
    bool armed = true;
    int acted = 0;
    int result = 1;
};

INSTANTIATE_TEST_SUITE_P(OneMay, InsideACallback, ::testing::ValuesIn(actions),
                         [](const auto &row) { return row.param.name; });

TEST_P(InsideACallback, OnConnected)
{
    begin();
    platform.proxy().fire_connected();
    expect_done(true);
}

TEST_P(InsideACallback, OnUpdateReady)
{
    begin(true);
    platform.proxy().fire_connected();
    expect_done(true);
}

TEST_P(InsideACallback, OnDisconnected)
{
    armed = false;
    begin_connected();
    armed = true;
    platform.proxy().fire_disconnected();
    expect_done(false);
}

TEST_P(InsideACallback, OnRejected)
{
    begin();
    platform.proxy().fire_rejected(-13);
    expect_done(false);
}

TEST_P(InsideACallback, OnIoError)
{
    armed = false;
    begin_connected();
    ASSERT_EQ(korvane_set_rpc_io_error_cb(handle, on_io_error, nullptr), KORVANE_ERROR_NONE);
    platform.main_port().on_sent = nullptr;
    ASSERT_EQ(korvane_stop(handle), KORVANE_ERROR_IO_ERROR);
    agent_answers();
    armed = true;
    run_main_loop();
    expect_done(true);
}

TEST_P(InsideACallback, OnStartResult)
{
    armed = false;
    begin_connected();
    ASSERT_EQ(korvane_start_async(handle, on_started, nullptr), KORVANE_ERROR_NONE);
    const Bytes answer = event(27, last_seq_id(platform.log), true, i32(0));
    armed = true;
    platform.proxy().push_event(answer);
    expect_done(true);
    if (!GetParam().ends_the_handle)
        platform.proxy().push_event(answer);
    EXPECT_EQ(acted, 1);
}

TEST_P(InsideACallback, OnStartResultWithOtherRequestsOutstanding)
{
    armed = false;
    begin_connected();
    std::vector<Bytes> answers;
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(korvane_start_async(handle, on_started, nullptr), KORVANE_ERROR_NONE);
        answers.push_back(event(27, last_seq_id(platform.log), true, i32(0)));
    }
    armed = true;
    platform.proxy().push_event(answers[1]);
    expect_done(true);
}

class DuringItsOwnCallback : public LibraryTest {
protected:
    static void on_start_result(korvane_h, int, void *test)
    {
        auto &self = *static_cast<DuringItsOwnCallback *>(test);
        if (++self.calls == 1)
            self.platform.proxy().push_event(self.answer); // the agent sends the event twice
    }

    static void fail_once_more(korvane_h seen, void *test)
    {
        auto &self = *static_cast<DuringItsOwnCallback *>(test);
        if (++self.calls == 1) {
            EXPECT_EQ(korvane_stop(seen), KORVANE_ERROR_IO_ERROR);
        }
    }

    int calls = 0;
    Bytes answer;
};

TEST_F(DuringItsOwnCallback, AOneShotDelegateIsNotCalledByASecondEvent)
{
    connect();
    arrives(reply(0));
    ASSERT_EQ(korvane_start_async(handle, on_start_result, this), KORVANE_ERROR_NONE);
    answer = event(27, last_seq_id(platform.log), true, i32(0));
    platform.proxy().push_event(answer);
    EXPECT_EQ(calls, 1);
}

/// The notice has ended when its callback runs. Therefore a call that fails inside the callback schedules another one.
TEST_F(DuringItsOwnCallback, AnIoErrorSchedulesTheNextNotice)
{
    connect();
    ASSERT_EQ(korvane_set_rpc_io_error_cb(handle, fail_once_more, this), KORVANE_ERROR_NONE);
    ASSERT_EQ(korvane_stop(handle), KORVANE_ERROR_IO_ERROR);
    run_main_loop();
    EXPECT_EQ(calls, 2);
}

} // namespace
} // namespace kv::test
